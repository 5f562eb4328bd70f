#include <cstdio>

#include "OpcUaClientInterface.h"

int main(int argc, char** argv) {
    COpcUaClientInterface client;
    _OpcUaClientConfig server{};
    std::snprintf(server.endpointUrl, sizeof server.endpointUrl, "%s",
                  argc > 1 ? argv[1] : "opc.tcp://localhost:4840");
    double value = 0;
    int size = sizeof value;
    int code = client.OpcUaConnect(server);
    if (code == 0) {
        const char* nodeId = argc > 2 ? argv[2] : "ns=2;s=Boiler.Drum.Level";
        code = client.OpcUaGetValue(client.OpcUaGetUaNode(nodeId, OpcUaDataType_Double), &value, size);
        client.OpcUaDisConnect();
    }
    std::printf("result %d, value %g\n", code, value);
    return code;
}
