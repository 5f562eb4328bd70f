#include "raw/raw_values.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "raw/raw_service.h"

namespace bench {
namespace {

constexpr std::size_t batchSize = 20;

template <typename Node, typename Value, typename Serve>
void inBatches(const std::vector<Node>& nodes, Value* values, Serve serve) {
    for (std::size_t done = 0; done < nodes.size(); done += batchSize)
        serve(nodes.data() + done, std::min(batchSize, nodes.size() - done), values + done);
}

void requireResults(std::size_t asked, std::size_t answered) {
    if (asked != answered)
        throw std::runtime_error("raw call: results are missing");
}

} // namespace

RawValues::RawValues(RawClient& client, const std::vector<Tag>& nodes)
    : m_client(client.handle()), m_cells(nodes.size()) {
    for (const Tag& node : nodes) {
        // The engine lists the built-in types in the order of their numbers, without Null.
        m_nodes.push_back({raw::parsed(node.nodeId), &UA_TYPES[node.dataType - 1]});
    }
}

RawValues::~RawValues() {
    for (Node& node : m_nodes)
        UA_NodeId_clear(&node.id);
}

void RawValues::read() {
    inBatches(m_nodes, m_cells.data(),
              [this](const Node* nodes, std::size_t count, Cell* cells) { readBatch(nodes, count, cells); });
}

void RawValues::write() {
    inBatches(m_nodes, m_cells.data(), [this](const Node* nodes, std::size_t count, const Cell* cells) {
        writeBatch(nodes, count, cells);
    });
}

void RawValues::readBatch(const Node* nodes, std::size_t count, Cell* values) {
    std::array<UA_ReadValueId, batchSize> items{};
    for (std::size_t i = 0; i < count; ++i) {
        items[i].nodeId = nodes[i].id;
        items[i].attributeId = UA_ATTRIBUTEID_VALUE;
    }
    UA_ReadRequest request;
    UA_ReadRequest_init(&request);
    request.timestampsToReturn = UA_TIMESTAMPSTORETURN_BOTH;
    request.nodesToRead = items.data();
    request.nodesToReadSize = count;
    UA_ReadResponse response;
    raw::call(m_client, request, UA_TYPES_READREQUEST, response, UA_TYPES_READRESPONSE, "read");
    requireResults(count, response.resultsSize);
    for (std::size_t i = 0; i < count; ++i) {
        const UA_DataValue& result = response.results[i];
        raw::require(result.status, "read");
        if (!UA_Variant_hasScalarType(&result.value, nodes[i].type))
            throw std::runtime_error("raw read: another type");
        std::memcpy(&values[i], result.value.data, nodes[i].type->memSize);
    }
    UA_ReadResponse_clear(&response);
}

void RawValues::writeBatch(const Node* nodes, std::size_t count, const Cell* values) {
    std::array<UA_WriteValue, batchSize> items{};
    for (std::size_t i = 0; i < count; ++i) {
        items[i].nodeId = nodes[i].id;
        items[i].attributeId = UA_ATTRIBUTEID_VALUE;
        items[i].value.hasValue = true;
        UA_Variant_setScalar(&items[i].value.value, const_cast<Cell*>(&values[i]), nodes[i].type);
    }
    UA_WriteRequest request;
    UA_WriteRequest_init(&request);
    request.nodesToWrite = items.data();
    request.nodesToWriteSize = count;
    UA_WriteResponse response;
    raw::call(m_client, request, UA_TYPES_WRITEREQUEST, response, UA_TYPES_WRITERESPONSE, "write");
    requireResults(count, response.resultsSize);
    for (std::size_t i = 0; i < count; ++i)
        raw::require(response.results[i], "write");
    UA_WriteResponse_clear(&response);
}

} // namespace bench
