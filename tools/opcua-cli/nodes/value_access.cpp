#include "value_access.h"

#include "../interrupt.h"
#include "call_size.h"
#include "node_info.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace opcua_cli {
namespace {

/// Nodes of one call of the library, which asks the server for 20 of them at a time: a long job can be
/// interrupted between two calls.
constexpr std::size_t nodesPerCall = 500;

using ReadOperation = int (COpcUaClientInterface::*)(OpcUa_ReadNode*, int);
using WriteOperation = int (COpcUaClientInterface::*)(OpcUa_WriteNode*, int);

/// Records and buffers of one call.
template <typename RequestNode>
class Call {
public:
    void add(const std::string& nodeId, ValueBuffer buffer) {
        m_records.push_back(recordFor(nodeId, buffer.recordType()));
        m_buffers.push_back(std::move(buffer));
    }

    template <typename Operation>
    void make(Connection& connection, Operation operation) {
        std::vector<RequestNode> nodes(m_records.size());
        for (std::size_t i = 0; i < nodes.size(); ++i)
            nodes[i] = {&m_records[i], m_buffers[i].data(), m_buffers[i].size()};
        (connection.client().*operation)(nodes.data(), static_cast<int>(nodes.size()));
        for (std::size_t i = 0; i < nodes.size(); ++i)
            m_buffers[i].size() = nodes[i].size;
        const auto failed = std::find_if(m_records.begin(), m_records.end(),
                                         [](const OpcUaNode& record) { return record.result != 0; });
        if (failed != m_records.end())
            connection.throwIfLost(failed->result);
    }

    int resultCode(std::size_t i) const { return m_records[i].result; }
    const ValueBuffer& buffer(std::size_t i) const { return m_buffers[i]; }

private:
    std::vector<OpcUaNode> m_records;
    std::vector<ValueBuffer> m_buffers;
};

ReadResult taken(Connection& connection, const ReadItem& item, int resultCode, const ValueBuffer& buffer) {
    if (resultCode != 0)
        return {resultCode, {}};
    if (!buffer.holdsWhole())
        return connection.read(item.nodeId, item.type);
    return {0, buffer.value()};
}

} // namespace

std::vector<ReadResult> readMany(Connection& connection, const std::vector<ReadItem>& items) {
    const std::size_t size = callSize(connection, Limited::Reads, items.size(), nodesPerCall);
    std::vector<ReadResult> results;
    for (std::size_t first = 0; first < items.size(); first += size) {
        throwIfInterrupted();
        const std::size_t end = std::min(first + size, items.size());
        Call<OpcUa_ReadNode> call;
        for (std::size_t i = first; i < end; ++i)
            call.add(items[i].nodeId, ValueBuffer(items[i].type));
        call.make(connection, ReadOperation(&COpcUaClientInterface::OpcUaGetMultiValue));
        for (std::size_t i = first; i < end; ++i)
            results.push_back(
                taken(connection, items[i], call.resultCode(i - first), call.buffer(i - first)));
    }
    return results;
}

std::vector<int> writeMany(Connection& connection, const std::vector<WriteItem>& items) {
    const std::size_t size = callSize(connection, Limited::Writes, items.size(), nodesPerCall);
    std::vector<int> results;
    for (std::size_t first = 0; first < items.size(); first += size) {
        throwIfInterrupted();
        const std::size_t end = std::min(first + size, items.size());
        Call<OpcUa_WriteNode> call;
        for (std::size_t i = first; i < end; ++i)
            call.add(items[i].nodeId, ValueBuffer(items[i].value));
        call.make(connection, WriteOperation(&COpcUaClientInterface::OpcUaSetMultiValue));
        for (std::size_t i = first; i < end; ++i)
            results.push_back(call.resultCode(i - first));
    }
    return results;
}

ReadResult readElement(Connection& connection, const ReadItem& item, const Index& index) {
    Index positions = index;
    ReadResult result = readGrowing(item.type, [&](ValueBuffer& buffer) {
        OpcUaNode record = recordFor(item.nodeId, buffer.recordType());
        return connection.client().OpcUaGetArrayValue(
            &record, positions.data(), static_cast<int>(positions.size()), buffer.data(), buffer.size());
    });
    connection.throwIfLost(result.resultCode);
    return result;
}

int writeElement(Connection& connection, const WriteItem& item, const Index& index) {
    Index positions = index;
    ValueBuffer buffer(item.value);
    OpcUaNode record = recordFor(item.nodeId, buffer.recordType());
    const int code = connection.client().OpcUaSetArrayValue(
        &record, positions.data(), static_cast<int>(positions.size()), buffer.data(), buffer.size());
    connection.throwIfLost(code);
    return code;
}

} // namespace opcua_cli
