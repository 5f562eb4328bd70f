#include "operations.h"

#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

// Arguments that live as long as the call that is given them.
struct Arguments {
    OpcUaNode node = serviceLevelNode();
    unsigned char value[8] = {};
    int size = sizeof value;
    unsigned long index[1] = {0};
    OpcUa_ReadNode read = {&node, value, sizeof value};
    OpcUa_WriteNode write = {&node, value, 1};
};

Operation operation(std::string name, int withoutSession,
                    std::function<int(COpcUaClientInterface&, Arguments&)> call) {
    return {std::move(name),
            [call = std::move(call)](COpcUaClientInterface& client) {
                Arguments arguments;
                return call(client, arguments);
            },
            withoutSession};
}

constexpr int notConnected = 3;
constexpr int invalidArgument = 29;

} // namespace

OpcUaNode serviceLevelNode() {
    OpcUaNode node = {};
    node.dataType = OpcUaDataType_Byte;
    std::strcpy(node.nodeId, "i=2267");
    return node;
}

_OpcUaClientConfig connectionTo(const std::string& url) {
    _OpcUaClientConfig config = {};
    config.timeout = 20000;
    url.copy(config.endpointUrl, sizeof config.endpointUrl - 1);
    return config;
}

std::string errorMessage(COpcUaClientInterface& client) {
    char text[128] = {};
    client.GetErrorMsg(text, sizeof text);
    return text;
}

std::vector<Operation> operationsThatNeedASession() {
    using Client = COpcUaClientInterface;
    return {
        operation("OpcUaDisConnect", notConnected,
                  [](Client& client, Arguments&) { return client.OpcUaDisConnect(); }),
        operation("OpcUaBrowse of everything", notConnected,
                  [](Client& client, Arguments&) { return client.OpcUaBrowse(nullptr); }),
        operation("OpcUaBrowse of a node", notConnected,
                  [](Client& client, Arguments& a) { return client.OpcUaBrowse(&a.node); }),
        operation(
            "OpcUaGetValue", notConnected,
            [](Client& client, Arguments& a) { return client.OpcUaGetValue(&a.node, a.value, a.size); }),
        operation(
            "OpcUaSetValue", notConnected,
            [](Client& client, Arguments& a) { return client.OpcUaSetValue(&a.node, a.value, a.size); }),
        operation("OpcUaGetArrayValue", notConnected,
                  [](Client& client, Arguments& a) {
                      return client.OpcUaGetArrayValue(&a.node, a.index, 1, a.value, a.size);
                  }),
        operation("OpcUaSetArrayValue", notConnected,
                  [](Client& client, Arguments& a) {
                      return client.OpcUaSetArrayValue(&a.node, a.index, 1, a.value, a.size);
                  }),
        // These two tell by the node's own result that nothing was sent.
        operation("OpcUaGetMultiValue", notConnected,
                  [](Client& client, Arguments& a) {
                      const int code = client.OpcUaGetMultiValue(&a.read, 1);
                      return code == 0 ? a.node.result : code;
                  }),
        operation("OpcUaSetMultiValue", notConnected,
                  [](Client& client, Arguments& a) {
                      const int code = client.OpcUaSetMultiValue(&a.write, 1);
                      return code == 0 ? a.node.result : code;
                  }),
        operation("OpcUaCreateSubScription", notConnected,
                  [](Client& client, Arguments&) { return client.OpcUaCreateSubScription(100.0); }),
        operation("OpcUaDeleteSubScription", notConnected,
                  [](Client& client, Arguments&) { return client.OpcUaDeleteSubScription(); }),
        operation("OpcUaAddMonitNode", notConnected,
                  [](Client& client, Arguments& a) { return client.OpcUaAddMonitNode(&a.node, nullptr, 0); }),
        operation("OpcUaAddMultiMonitNode", notConnected,
                  [](Client& client, Arguments& a) {
                      const int code = client.OpcUaAddMultiMonitNode(&a.node, 1);
                      return code == 0 ? a.node.result : code;
                  }),
        operation(
            "OpcUaRemoveMonitNode", notConnected,
            [](Client& client, Arguments& a) { return client.OpcUaRemoveMonitNode(&a.node, nullptr, 0); }),
        operation("OpcUaClearMonitNode", notConnected,
                  [](Client& client, Arguments&) { return client.OpcUaClearMonitNode(); }),
    };
}

std::vector<Operation> operationsWithAnArgumentLeftOut() {
    using Client = COpcUaClientInterface;
    std::vector<Operation> operations;
    const auto add = [&operations](const std::string& name, auto call) {
        operations.push_back(operation(name, invalidArgument, call));
    };
    add("OpcUaGetValue, node",
        [](Client& c, Arguments& a) { return c.OpcUaGetValue(nullptr, a.value, a.size); });
    add("OpcUaGetValue, buffer",
        [](Client& c, Arguments& a) { return c.OpcUaGetValue(&a.node, nullptr, a.size); });
    add("OpcUaSetValue, node",
        [](Client& c, Arguments& a) { return c.OpcUaSetValue(nullptr, a.value, a.size); });
    add("OpcUaSetValue, buffer",
        [](Client& c, Arguments& a) { return c.OpcUaSetValue(&a.node, nullptr, a.size); });

    struct ArrayCase {
        const char* left;
        bool node, index, buffer;
        int count;
    };
    for (const ArrayCase& without :
         {ArrayCase{"node", false, true, true, 1}, ArrayCase{"index", true, false, true, 1},
          ArrayCase{"buffer", true, true, false, 1}, ArrayCase{"count 0", true, true, true, 0},
          ArrayCase{"count -1", true, true, true, -1}, ArrayCase{"count 17", true, true, true, 17}}) {
        const std::string left = without.left;
        add("OpcUaGetArrayValue, " + left, [without](Client& c, Arguments& a) {
            return c.OpcUaGetArrayValue(without.node ? &a.node : nullptr, without.index ? a.index : nullptr,
                                        without.count, without.buffer ? a.value : nullptr, a.size);
        });
        add("OpcUaSetArrayValue, " + left, [without](Client& c, Arguments& a) {
            return c.OpcUaSetArrayValue(without.node ? &a.node : nullptr, without.index ? a.index : nullptr,
                                        without.count, without.buffer ? a.value : nullptr, a.size);
        });
    }

    add("OpcUaGetMultiValue, nodes", [](Client& c, Arguments&) { return c.OpcUaGetMultiValue(nullptr, 1); });
    add("OpcUaSetMultiValue, nodes", [](Client& c, Arguments&) { return c.OpcUaSetMultiValue(nullptr, 1); });
    add("OpcUaAddMultiMonitNode, nodes",
        [](Client& c, Arguments&) { return c.OpcUaAddMultiMonitNode(nullptr, 1); });
    for (const int count : {0, -1}) {
        const std::string left = ", count " + std::to_string(count);
        add("OpcUaGetMultiValue" + left,
            [count](Client& c, Arguments& a) { return c.OpcUaGetMultiValue(&a.read, count); });
        add("OpcUaSetMultiValue" + left,
            [count](Client& c, Arguments& a) { return c.OpcUaSetMultiValue(&a.write, count); });
        add("OpcUaAddMultiMonitNode" + left,
            [count](Client& c, Arguments& a) { return c.OpcUaAddMultiMonitNode(&a.node, count); });
    }
    add("OpcUaAddMonitNode, node",
        [](Client& c, Arguments&) { return c.OpcUaAddMonitNode(nullptr, nullptr, 0); });
    add("OpcUaRemoveMonitNode, node",
        [](Client& c, Arguments&) { return c.OpcUaRemoveMonitNode(nullptr, nullptr, 0); });
    add("installOpcUaCallBack, callback",
        [](Client& c, Arguments&) { return c.installOpcUaCallBack(nullptr); });
    return operations;
}
