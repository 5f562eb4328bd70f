#include "overlap/overlap_fixture.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

using namespace scripted;

namespace {

constexpr std::uint32_t firstChild = 1000;
constexpr int requestCount = OverlapTest::requests;
constexpr int nodeCount = OverlapTest::nodesPerRequest;

/// Its values say it, too.
int numberOf(const UA_NodeId& id) {
    const std::string text = textOf(id);
    return id.identifierType == UA_NODEIDTYPE_NUMERIC ? static_cast<int>(id.identifier.numeric - firstChild)
                                                      : std::stoi(text.substr(text.find('N') + 1));
}

void fillChildren(UA_BrowseResult& result, std::size_t count) {
    resize(result.references, result.referencesSize, count);
    for (std::size_t i = 0; i < count; ++i) {
        UA_ReferenceDescription& child = result.references[i];
        child.isForward = true;
        child.nodeClass = UA_NODECLASS_VARIABLE;
        UA_ExpandedNodeId_clear(&child.nodeId);
        child.nodeId.nodeId.identifier.numeric = firstChild + static_cast<std::uint32_t>(i);
        assign(child.browseName.name, "Child" + std::to_string(i));
    }
}

/// What the results of one request have in common.
int common(const int* results, int count) {
    return std::all_of(results, results + count, [&](int one) { return one == *results; }) ? *results : -1;
}

std::vector<int> browseChildren(COpcUaClientInterface& client) {
    const int code = client.OpcUaBrowse(nullptr);
    std::vector<int> results(requestCount, code);
    int children = 0;
    const OpcUaNode* const root = client.OpcUaReadRootNode();
    for (const OpcUaNode* child = root != nullptr ? root->child : nullptr; child != nullptr;
         child = child->next) {
        EXPECT_EQ(fieldText(child->nodeId),
                  "i=" + std::to_string(firstChild + static_cast<std::uint32_t>(children)));
        if (child->dataType == OpcUaDataType_Null) {
            results[static_cast<std::size_t>(children)] = OverlapTest::untyped;
        } else {
            EXPECT_EQ(child->dataType, OpcUaDataType_Int32);
            EXPECT_EQ(child->arrayInfo.dims[0], static_cast<unsigned long>(children) + 1);
            results[static_cast<std::size_t>(children)] = 0;
        }
        ++children;
    }
    EXPECT_EQ(code == 0, children == requestCount);
    return results;
}

std::vector<int> readNodes(COpcUaClientInterface& client) {
    constexpr int count = requestCount * nodeCount;
    constexpr int untouched = -7;
    std::vector<OpcUaNode> nodes(count);
    std::vector<std::int32_t> values(count, untouched);
    std::vector<OpcUa_ReadNode> records(count);
    for (int i = 0; i < count; ++i) {
        const auto place = static_cast<std::size_t>(i);
        setField(nodes[place].nodeId, "ns=1;s=N" + std::to_string(i));
        nodes[place].dataType = OpcUaDataType_Int32;
        nodes[place].result = untouched;
        records[place] = {&nodes[place], &values[place], 0};
    }
    EXPECT_EQ(client.OpcUaGetMultiValue(records.data(), count), 0);
    std::vector<int> all(count);
    for (int i = 0; i < count; ++i) {
        const auto place = static_cast<std::size_t>(i);
        all[place] = nodes[place].result;
        EXPECT_EQ(values[place], all[place] == 0 ? i : untouched);
    }
    std::vector<int> results;
    for (int i = 0; i < requestCount; ++i)
        results.push_back(common(&all[static_cast<std::size_t>(i) * nodeCount], nodeCount));
    return results;
}

std::vector<int> addNodes(COpcUaClientInterface& client) {
    constexpr int count = requestCount * nodeCount;
    std::vector<OpcUaNode> nodes(count);
    for (int i = 0; i < count; ++i)
        setField(nodes[static_cast<std::size_t>(i)].nodeId, "ns=1;s=N" + std::to_string(i));
    EXPECT_EQ(client.OpcUaAddMultiMonitNode(nodes.data(), count), 0);
    std::vector<int> results;
    for (int i = 0; i < requestCount; ++i) {
        std::array<int, nodeCount> part{};
        std::transform(nodes.begin() + i * nodeCount, nodes.begin() + (i + 1) * nodeCount, part.begin(),
                       [](const OpcUaNode& node) { return node.result; });
        results.push_back(common(part.data(), nodeCount));
    }
    return results;
}

} // namespace

std::vector<Operation> operations() {
    return {{"Browse", Kind::Browse, &typeOf<UA_ReadRequest>(), 4},
            {"Read", Kind::Read, &typeOf<UA_ReadRequest>(), 7},
            {"Add", Kind::Add, &typeOf<UA_CreateMonitoredItemsRequest>(), 12}};
}

OverlapTest::OverlapTest() {
    serveChildren(server);
    server.on<UA_ReadRequest>(answerWell);
}

void OverlapTest::serveChildren(Server& server) {
    server.edit<UA_BrowseResponse>(
        [](UA_BrowseResponse& response) { fillChildren(response.results[0], requests); });
}

void OverlapTest::answerWell(const Call& call) {
    if (!call.is<UA_ReadRequest>() || isProbe(call)) {
        call.answer();
        return;
    }
    const auto& request = call.request<UA_ReadRequest>();
    Owned<UA_ReadResponse> response;
    resize(response->results, response->resultsSize, request.nodesToReadSize);
    for (std::size_t i = 0; i < response->resultsSize; ++i) {
        response->results[i].hasValue = true;
        const UA_NodeId& id = request.nodesToRead[i].nodeId;
        if (textOf(id) == "ns=1;s=Value") {
            assign(response->results[i].value, 42);
        } else if (id.identifierType == UA_NODEIDTYPE_STRING) {
            assign(response->results[i].value, numberOf(id));
        } else {
            const std::vector<UA_Int32> elements(static_cast<std::size_t>(numberOf(id)) + 1);
            UA_Variant_setArrayCopy(&response->results[i].value, elements.data(), elements.size(),
                                    &UA_TYPES[UA_TYPES_INT32]);
        }
    }
    call.answer(*response);
}

void OverlapTest::prepare(const Operation& operation) {
    if (operation.kind == Kind::Add)
        ASSERT_EQ(client.installOpcUaCallBack(&application), 0);
    ASSERT_EQ(connect(), 0);
    if (operation.kind == Kind::Add)
        ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
}

std::vector<int> OverlapTest::run(const Operation& operation, COpcUaClientInterface& client) {
    switch (operation.kind) {
    case Kind::Browse:
        return browseChildren(client);
    case Kind::Read:
        return readNodes(client);
    default:
        return addNodes(client);
    }
}

std::vector<int> OverlapTest::expected(const Operation& operation, const std::vector<int>& failed) {
    std::vector<int> results(requests, 0);
    for (const int one : failed) {
        const auto end = operation.kind == Kind::Browse ? results.end() : results.begin() + one + 1;
        std::fill(results.begin() + one, end, operation.failure);
    }
    return results;
}

std::string OverlapTest::message() {
    std::array<char, 256> text{};
    client.GetErrorMsg(text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::vector<int> OverlapTest::from(int first) {
    std::vector<int> numbers(static_cast<std::size_t>(requests - first));
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

void OverlapTest::answerAll(HeldRequests::Calls& held) {
    std::for_each(held.begin(), held.end(), answerWell);
}

void OverlapTest::serve(const Operation& operation, const std::vector<int>& numbers,
                        const std::function<void(const Call&)>& otherwise) {
    auto number = std::make_shared<int>(0);
    server.onType(*operation.request, [=](const Call& call) {
        const bool isOne =
            !isProbe(call) && std::find(numbers.begin(), numbers.end(), (*number)++) != numbers.end();
        isOne ? otherwise(call) : answerWell(call);
    });
}

std::size_t OverlapTest::mostAhead(const Operation& operation, std::size_t first) {
    const HeldRequests held(server, *operation.request, answerAll, first);
    EXPECT_EQ(run(operation), expected(operation, {}));
    return held.most();
}
