#pragma once

#include "../nodes/node_finder.h"
#include "../nodes/node_reference.h"
#include "../nodes/shape.h"
#include "../output/progress.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace opcua_cli {

/// A variable, or an element of one, whose changes are followed.
struct WatchedNode {
    std::string name; ///< for people
    NodeInfo node;
    bool typeKnown = true; ///< false when a node given by its id did not show up in the address space

    /// An array or matrix without an index: the library tells that it changed, not to what.
    bool wholeArray(const std::optional<Index>& index) const { return node.isArray && !index; }
    /// The library delivers no value for a type that it does not convert, but reads its text form.
    bool readAsText() const { return node.dataType == OpcUaDataType_Null; }
    std::string typeText(const std::optional<Index>& index) const;
    /// The text form of a value comes without the quotes of a String.
    std::string valueText(const Value& value) const;
};

/// What the user named, as far as it is there.
struct WatchList {
    std::vector<WatchedNode> nodes;
    std::vector<Problem> problems; ///< what is left out, and why
};

/// Finds the variables that the user named, one by one or as a whole folder.
///
/// An id is looked for in the address space, for its type and because it may be a folder. One that does not
/// show up is taken as it is; whether it can be monitored is for the server to say.
class WatchListMaker {
public:
    struct Bounds {
        int depth;            ///< levels below a folder
        std::size_t maxNodes; ///< to look at, for each search or folder
    };

    WatchListMaker(Connection& connection, Bounds bounds, std::optional<Index> index);

    /// Throws Failure when there is no point in going on with other nodes.
    void add(const std::string& given, const NodeReference& reference);

    WatchList take() { return std::move(m_list); }

private:
    void addPath(const NodePath& path);
    void addId(const std::string& nodeId);
    void addRecord(OpcUaNode* record);
    void addFolder(OpcUaNode* record);
    void addVariable(WatchedNode watched);
    bool hasElement(const NodeInfo& node) const;
    NodeFinder& finder();

    Connection& m_connection;
    Bounds m_bounds;
    std::optional<Index> m_index;
    std::unique_ptr<NodeFinder> m_finder;
    std::unordered_set<std::string> m_known;
    WatchList m_list;
    Progress m_progress{"looking for the nodes"};
};

/// Two nodes with one name get their ids behind it.
void makeNamesUnique(std::vector<WatchedNode>& nodes);

} // namespace opcua_cli
