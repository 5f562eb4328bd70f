// Values and the buffers they come and go in: what docs/values.md shows, step by step, on the plant server's
// test rack.
//
//     plant_server --port 4840 &
//     values_example opc.tcp://localhost:4840
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "OpcUaClientInterface.h"
#include "OpcUaHelpers.h"

namespace {

OpcUaNode nodeOf(const std::string& name, _OpcUaDataType type) {
    return OpcUaMakeNode("ns=3;s=TestRack." + name, type);
}

void show(const char* what, int code, const void* bytes, int count, int size) {
    std::printf("%-24s result %d, size %2d, bytes", what, code, size);
    for (int i = 0; code == 0 && i < count; ++i)
        std::printf(" %02x", static_cast<const unsigned char*>(bytes)[i]);
    std::printf("\n");
}

void readTheTwelveTypes(COpcUaClientInterface& client) {
    const char* const types[] = {"Boolean", "SByte", "Byte",   "Int16", "UInt16", "Int32",
                                 "UInt32",  "Int64", "UInt64", "Float", "Double", "String"};
    for (int type = OpcUaDataType_Boolean; type <= OpcUaDataType_String; ++type) {
        const char* const name = types[type - 1];
        OpcUaNode node = nodeOf(std::string("Scalar.") + name, static_cast<_OpcUaDataType>(type));
        char buffer[16];
        int size = sizeof buffer; // looked at for String alone
        const int code = client.OpcUaGetValue(&node, buffer, size);
        show(name, code, buffer, type == OpcUaDataType_String ? size + 1 : size, size);
    }
}

int write(COpcUaClientInterface& client, const char* name, _OpcUaDataType type, const void* buffer,
          int size) {
    OpcUaNode node = nodeOf(name, type);
    return client.OpcUaSetValue(&node, buffer, size) == 0 ? 0 : 1;
}

void writeTheTwelveTypes(COpcUaClientInterface& client) {
    const unsigned char running = 1; // any byte but 0 is true
    const signed char temperature = -40;
    const unsigned char percent = 100;
    const short level = -1000;
    const unsigned short speed = 60000;
    const int offset = -100000;
    const unsigned int parts = 4000000000U;
    const long energy = -5000000000;
    const unsigned long total = 10000000000000000000U;
    const float torque = 12.5F;
    const double pressure = 10.25;
    const char* const recipe = "Yoghurt"; // zero-terminated; its size is not looked at
    int failed = 0;
    failed += write(client, "Scalar.Boolean", OpcUaDataType_Boolean, &running, sizeof running);
    failed += write(client, "Scalar.SByte", OpcUaDataType_SByte, &temperature, sizeof temperature);
    failed += write(client, "Scalar.Byte", OpcUaDataType_Byte, &percent, sizeof percent);
    failed += write(client, "Scalar.Int16", OpcUaDataType_Int16, &level, sizeof level);
    failed += write(client, "Scalar.UInt16", OpcUaDataType_UInt16, &speed, sizeof speed);
    failed += write(client, "Scalar.Int32", OpcUaDataType_Int32, &offset, sizeof offset);
    failed += write(client, "Scalar.UInt32", OpcUaDataType_UInt32, &parts, sizeof parts);
    failed += write(client, "Scalar.Int64", OpcUaDataType_Int64, &energy, sizeof energy);
    failed += write(client, "Scalar.UInt64", OpcUaDataType_UInt64, &total, sizeof total);
    failed += write(client, "Scalar.Float", OpcUaDataType_Float, &torque, sizeof torque);
    failed += write(client, "Scalar.Double", OpcUaDataType_Double, &pressure, sizeof pressure);
    failed += write(client, "Scalar.String", OpcUaDataType_String, recipe, 0);
    std::printf("writes that failed       %d\n", failed);
}

void readTextsIntoSmallBuffers(COpcUaClientInterface& client) {
    OpcUaNode node = nodeOf("Scalar.String", OpcUaDataType_String); // "Yoghurt", seven bytes
    for (const int capacity : {8, 7, 4}) {
        char buffer[8] = {'?', '?', '?', '?', '?', '?', '?', '?'};
        int size = capacity;
        const int code = client.OpcUaGetValue(&node, buffer, size);
        const bool cut = size == capacity - 1 && buffer[capacity - 1] != '\0';
        show(cut ? "text, cut" : "text, whole", code, buffer, capacity, size);
    }
}

void writeSizesThatDoNotFit(COpcUaClientInterface& client) {
    OpcUaNode node = nodeOf("Scalar.UInt32", OpcUaDataType_UInt32);
    const unsigned char bytes[] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
    for (int size : {8, 4, 2}) {
        const int code = client.OpcUaSetValue(&node, bytes, size);
        unsigned int stored = 0;
        int width = 0;
        client.OpcUaGetValue(&node, &stored, width);
        show("UInt32 written", code, &stored, width, size);
    }
}

void readWithAnotherType(COpcUaClientInterface& client) {
    OpcUaNode node = nodeOf("Scalar.Int16", OpcUaDataType_Double); // holds -1000
    double number = 0;
    int size = 0;
    client.OpcUaGetValue(&node, &number, size);
    node.dataType = OpcUaDataType_String;
    char text[16] = "not read";
    size = sizeof text;
    client.OpcUaGetValue(&node, text, size);
    node.dataType = OpcUaDataType_Byte; // can't hold it
    unsigned char byte = 77;
    client.OpcUaGetValue(&node, &byte, size);
    std::printf("Int16 -1000 read as      Double %g, String \"%s\", Byte %d\n", number, text, byte);
}

void useElements(COpcUaClientInterface& client) {
    OpcUaNode matrix = nodeOf("Matrix2.Int32", OpcUaDataType_Int32); // 3 x 4, element k holds k
    unsigned long index[] = {1, 2};
    int element = 0;
    int size = 0;
    client.OpcUaGetArrayValue(&matrix, index, 2, &element, size);
    std::printf("element [1][2]           %d\n", element);

    const int replacement = 600;
    size = sizeof replacement;
    client.OpcUaSetArrayValue(&matrix, index, 2, &replacement, size);
    unsigned long sameElement[] = {0, 6}; // beyond its dimension, but 0 x 4 + 6 is the same flat position
    client.OpcUaGetArrayValue(&matrix, sameElement, 2, &element, size);
    std::printf("element [0][6]           %d\n", element);

    unsigned long outside[] = {3, 0}; // 3 x 4 + 0 is behind the last element
    const int code = client.OpcUaGetArrayValue(&matrix, outside, 2, &element, size);
    std::printf("element [3][0]           result %d, %d is kept\n", code, element);
}

void useManyNodes(COpcUaClientInterface& client) {
    OpcUaNode nodes[] = {nodeOf("Scalar.Double", OpcUaDataType_Double),
                         nodeOf("Scalar.String", OpcUaDataType_String),
                         nodeOf("No.Such.Node", OpcUaDataType_Int32)};
    double pressure = 0;
    char recipe[32] = "not read";
    int nothing = 0;
    OpcUa_ReadNode reads[] = {
        {&nodes[0], &pressure, 0}, {&nodes[1], recipe, sizeof recipe}, {&nodes[2], &nothing, 0}};
    const int code = client.OpcUaGetMultiValue(reads, 3);
    std::printf("many nodes               result %d: %d %g, %d \"%s\", %d\n", code, nodes[0].result, pressure,
                nodes[1].result, recipe, nodes[2].result);

    pressure = 11.5;
    OpcUa_WriteNode writes[] = {{&nodes[0], &pressure, sizeof pressure},
                                {&nodes[2], &nothing, sizeof nothing}};
    client.OpcUaSetMultiValue(writes, 2);
    std::printf("many nodes               results of the writes: %d %d\n", nodes[0].result, nodes[2].result);
}

} // namespace

int main(int argc, char** argv) {
    COpcUaClientInterface client;
    _OpcUaClientConfig server{};
    std::snprintf(server.endpointUrl, sizeof server.endpointUrl, "%s",
                  argc > 1 ? argv[1] : "opc.tcp://localhost:4840");
    if (client.OpcUaConnect(server) != 0) {
        std::fprintf(stderr, "no connection to %s\n", server.endpointUrl);
        return 1;
    }
    readTheTwelveTypes(client);
    writeTheTwelveTypes(client);
    readTextsIntoSmallBuffers(client);
    writeSizesThatDoNotFit(client);
    readWithAnotherType(client);
    useElements(client);
    useManyNodes(client);
    return client.OpcUaDisConnect();
}
