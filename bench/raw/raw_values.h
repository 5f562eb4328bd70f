#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "raw/raw_client.h"
#include "surroundings/tags.h"

namespace bench {

/// A buffer for one number of any type.
using Cell = std::uint64_t;

/// Reads and writes nodes in calls of 20, with nothing to be done for a call but the call.
class RawValues {
public:
    RawValues(RawClient& client, const std::vector<Tag>& nodes);
    ~RawValues();
    RawValues(const RawValues&) = delete;
    RawValues& operator=(const RawValues&) = delete;

    void read();
    void write();
    /// What was read, and what is written.
    const std::vector<Cell>& cells() const { return m_cells; }

private:
    struct Node {
        UA_NodeId id;
        const UA_DataType* type;
    };

    void readBatch(const Node* nodes, std::size_t count, Cell* values);
    void writeBatch(const Node* nodes, std::size_t count, const Cell* values);

    UA_Client* m_client;
    std::vector<Node> m_nodes;
    std::vector<Cell> m_cells;
};

} // namespace bench
