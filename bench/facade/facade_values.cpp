#include "facade/facade_values.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "facade/facade_items.h"

namespace bench {

FacadeValues::FacadeValues(FacadeClient& client, const std::vector<Tag>& nodes)
    : m_client(client), m_cells(nodes.size()), m_nodes(recordsOf(nodes)) {
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        m_toRead.push_back({&m_nodes[i], &m_cells[i], sizeof(Cell)});
        m_toWrite.push_back({&m_nodes[i], &m_cells[i], sizeof(Cell)});
    }
}

void FacadeValues::read() {
    m_client.require(
        m_client.interface().OpcUaGetMultiValue(m_toRead.data(), static_cast<int>(m_toRead.size())),
        "multi read");
}

void FacadeValues::write() {
    m_client.require(
        m_client.interface().OpcUaSetMultiValue(m_toWrite.data(), static_cast<int>(m_toWrite.size())),
        "multi write");
}

void FacadeValues::requireResults() const {
    for (const OpcUaNode& node : m_nodes) {
        if (node.result != 0) {
            throw std::runtime_error(std::string("facade: result ") + std::to_string(node.result) + " for " +
                                     static_cast<const char*>(node.nodeId));
        }
    }
}

} // namespace bench
