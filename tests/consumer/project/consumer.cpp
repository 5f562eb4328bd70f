#include <OpcUaClientInterface.h>
#include <OpcUaHelpers.h>
#include <cstdio>

int main() {
    COpcUaClientInterface client;
    OpcUaNode node = OpcUaMakeNode("ns=2;s=Line1.Speed", OpcUaTypeOf<int>::value);
    int value = 0;
    int size = sizeof value;
    int code = client.OpcUaGetValue(&node, &value, size);
    char message[64] = "";
    client.GetErrorMsg(message, sizeof message);
    std::printf("%d %s\n", code, message);
    return code == 3 ? 0 : 1;
}
