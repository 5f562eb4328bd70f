#include "browse_tree.h"

#include <string>
#include <utility>

#include "../interrupt.h"
#include "node_info.h"

namespace opcua_cli {

BrowseTree::BrowseTree(Connection& connection, const std::string& startId) : m_connection(connection) {
    OpcUaNode record = recordFor(startId);
    const int code = connection.client().OpcUaBrowse(&record);
    connection.throwIfLost(code);
    if (code != 0) {
        Problem problem = connection.lastProblem();
        problem.explanation += ": " + startId;
        throw Failure(ExitCode::Failed, std::move(problem));
    }
    // The first browse of a connection hangs what it finds under a record of the library's own.
    m_start = connection.client().OpcUaReadRootNode();
    m_browsed.insert(m_start);
}

BrowseTree::Level BrowseTree::expand(OpcUaNode* record) {
    throwIfInterrupted();
    Level level;
    if (m_browsed.insert(record).second) {
        level.resultCode = m_connection.client().OpcUaBrowse(record);
        m_connection.throwIfLost(level.resultCode);
    }
    for (OpcUaNode* child = record->child; child != nullptr; child = child->next)
        level.children.push_back(child);
    return level;
}

} // namespace opcua_cli
