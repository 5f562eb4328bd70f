#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "addressing/browse_tree.h"

namespace opcua_cli {

/// The path of the node where a way ends; known only when the user named the node by one.
std::optional<std::string> pathOf(const NodeReference& reference, const std::vector<OpcUaNode*>& way);

/// The path of a node of the walk, behind that of the start.
std::string pathOf(const Walk& walk, std::size_t index, const std::string& startPath);

/// The nodes below the start, in the order in which a tree is read.
std::vector<std::size_t> inTreeOrder(const Walk& walk);

/// How many of these nodes, each behind its parent, have paths of so many bytes together at most.
std::size_t countWithin(std::size_t mostBytes, const Walk& walk, const std::vector<std::size_t>& nodes,
                        const std::string& startPath);

/// So many levels at most are walked through: a server may have a node in each, and a path names them all.
constexpr int greatestWalkDepth = 100;

/// True when a walk of that depth may have ended above something.
bool endsAtDepth(const Walk& walk, int depth);

/// Tells people what a walk left open, with what to do about a bound, and gives the exit code that says so.
ExitCode reportWalk(const Walk& walk, const std::string& boundNote);

} // namespace opcua_cli
