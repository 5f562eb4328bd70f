#pragma once

#include <string>
#include <vector>

namespace opcua_cli {

/// What is between the slashes of a path, as it is written: an escaped slash parts nothing. One at least.
std::vector<std::string> stepsOf(const std::string& path);

/// The node that a word of a shell's user means: a node id, or a path from the position on, unless it begins
/// with a slash; ".." leads up. The position is a path, or empty for the Objects folder; so is the result.
std::string nodeFrom(const std::string& position, const std::string& word);

/// A browse name as a step of a path, without the namespace index where it can be left out.
std::string shortStep(const std::string& browseName);

} // namespace opcua_cli
