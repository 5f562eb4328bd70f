#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>

#include "addressing/browse_tree.h"
#include "values/job.h"

namespace opcua_cli {

/// What is followed, each node once, up to two bounds: of how many there are, and of the bytes that their
/// names have together.
class WatchList {
public:
    explicit WatchList(std::size_t mostNameBytes = mostPathBytes) : m_nameRoom(mostNameBytes) {}

    /// Throws Failure (Failed) at a bound.
    void add(const std::string& name, const NodeInfo& node, const std::optional<Index>& index);
    Jobs take() { return std::move(m_watched); }

private:
    std::size_t m_nameRoom;
    std::unordered_set<std::string> m_known;
    Jobs m_watched;
};

/// The variables that the jobs name, each once: one by one, or all those of a folder, down to `depth` levels
/// below it. Looks at `maxNodes` nodes at most, for each search or folder.
///
/// An id is looked for in the address space, for its type and because it may be a folder. One that does not
/// show up is taken as it is; whether it can be monitored is for the server to say.
///
/// For what a folder holds and cannot be followed or looked into, further jobs with the folder's name and a
/// problem are put behind the others.
Jobs variablesToWatch(Connection& connection, Jobs& jobs, int depth, std::size_t maxNodes);

/// Two nodes with one name get their ids behind it.
void makeNamesUnique(Jobs& watched);

/// "ns=2;s=Line1.Zones[3]"
std::string watchedId(const Job& watched);
std::string watchedType(const Job& watched);
/// The text form of a value comes without the quotes of a String.
std::string watchedValue(const Job& watched, const Value& value);

/// As much of a text as a screen may show, with dots behind it; the text itself when it is no longer.
std::string beginningOf(const std::string& text);
/// The same of a value that is a text; any other as it is.
Value beginningOf(const Value& value);

/// The type of what came, which may be another one than there was when the node was looked for; Null when it
/// is no type of the library's.
_OpcUaDataType deliveredType(const Job& watched, const Value& value);

/// An array or matrix without an index: the library tells that it changed, not to what.
inline bool isWatchedWhole(const Job& watched) {
    return watched.node.isArray && !watched.index;
}

/// The library delivers no value for a type that it does not convert, but reads its text form.
inline bool isReadAsText(const Job& watched) {
    return watched.node.dataType == OpcUaDataType_Null;
}

} // namespace opcua_cli
