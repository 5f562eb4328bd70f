#pragma once

#include <functional>
#include <string>
#include <vector>

namespace opcua_cli {

/// What may stand where somebody types.
struct Completion {
    std::string rest{};                    ///< to be put in: what all candidates have in common
    std::vector<std::string> candidates{}; ///< whole names
};

/// What a line may be completed with.
struct Vocabulary {
    std::vector<std::string> commands;
    /// Names below a node as steps of a path, with a slash behind those that others lie below.
    std::function<std::vector<std::string>(const std::string& node)> children;
};

/// Completes the command, or the last name in the path of a node. `before` is the line up to the cursor.
Completion complete(const std::string& before, const Vocabulary& vocabulary);

} // namespace opcua_cli
