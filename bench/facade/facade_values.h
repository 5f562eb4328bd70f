#pragma once

#include <vector>

#include "facade/facade_client.h"
#include "raw/raw_values.h"
#include "surroundings/tags.h"

namespace bench {

/// The library's multi-node operations with an application's own records.
class FacadeValues {
public:
    FacadeValues(FacadeClient& client, const std::vector<Tag>& nodes);

    void read();
    void write();
    /// Throws when the last of them failed for a node.
    void requireResults() const;
    /// What was read, and what is written.
    const std::vector<Cell>& cells() const { return m_cells; }

private:
    FacadeClient& m_client;
    std::vector<Cell> m_cells;
    std::vector<OpcUaNode> m_nodes;
    std::vector<OpcUa_ReadNode> m_toRead;
    std::vector<OpcUa_WriteNode> m_toWrite;
};

} // namespace bench
