#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace opcua_cli {

/// One step of a path: a browse name, in any namespace when none is given.
struct PathStep {
    std::optional<unsigned> namespaceIndex;
    std::string name;
};

/// A way from the Root folder (or the Objects folder) down to a node.
using NodePath = std::vector<PathStep>;

/// How the user named a node: by a path, or by a node id in the form in which the library writes it.
using NodeReference = std::variant<NodePath, std::string>;

/// "/Objects/2:Plant/Line1/Speed", or a node id such as "ns=2;s=Line1.Speed" or "i=2261". "&" before a
/// character takes away its meaning in a path ("/Line&/1"), as in the standard's relative paths (OPC UA Part
/// 4, A.2). Throws Failure (Usage).
NodeReference parseNodeReference(const std::string& text);

/// True for a text that begins as a path or a node id does, and thus is neither a URL nor an option.
bool looksLikeNode(std::string_view text);

/// True when the browse name of a record ("2:Speed", "Objects" or "0:Objects") is the one of the step.
bool matches(const PathStep& step, const std::string& browseName);

/// The browse name of a record without its namespace index: "Speed".
std::string plainName(const std::string& browseName);

/// The browse name of a record as a step that parseNodeReference() takes, with its slash: "/2:Speed",
/// "/Objects".
std::string pathStepText(const std::string& browseName);

} // namespace opcua_cli
