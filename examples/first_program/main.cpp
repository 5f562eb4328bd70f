#include <cstdio>
#include <cstring>

#include "OpcUaClientInterface.h"

int main(int argc, char** argv) {
    COpcUaClientInterface client;
    _OpcUaClientConfig server{};
    std::strncpy(server.endpointUrl, argc > 1 ? argv[1] : "opc.tcp://localhost:4840", 127);
    int code = client.OpcUaConnect(server);
    if (code == 0) {
        double value = 0;
        int size = sizeof value;
        OpcUaNode* node =
            client.OpcUaGetUaNode(argc > 2 ? argv[2] : "ns=2;s=Line1.Speed", OpcUaDataType_Double);
        code = client.OpcUaGetValue(node, &value, size);
        std::printf(code == 0 ? "%g\n" : "read failed\n", value);
        client.OpcUaDisConnect();
    }
    return code;
}
