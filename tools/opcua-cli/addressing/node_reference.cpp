#include "addressing/node_reference.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "OpcUaTypes.h"
#include "failure.h"

namespace opcua_cli {
namespace {

constexpr std::string_view reservedInPath = "/&";
constexpr const char* nodeIdAdvice =
    "a node id such as ns=2;s=Line1.Speed or i=2261, or a path such as /Objects/Plant/Line1/Speed";

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

bool isHexDigit(char character) {
    return std::isxdigit(static_cast<unsigned char>(character)) != 0;
}

char lowerCase(char character) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
}

/// The whole text as a number of that type.
template <typename Number>
std::optional<Number> wholeNumber(std::string_view text) {
    Number number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || stop != text.data() + text.size() || error != std::errc{})
        return std::nullopt;
    return number;
}

struct SplitName {
    std::optional<unsigned> namespaceIndex;
    std::string_view name;
};

/// "2:Speed" into its parts.
SplitName splitBrowseName(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == 0 || colon == std::string_view::npos ||
        !std::all_of(text.begin(), text.begin() + colon, isDigit))
        return {std::nullopt, text};
    const auto index = wholeNumber<std::uint16_t>(text.substr(0, colon));
    if (!index)
        return {std::nullopt, text};
    return {*index, text.substr(colon + 1)};
}

[[noreturn]] void refuseNode(const std::string& text, const std::string& reason) {
    throw usageFailure("\"" + text + "\" is no node: " + reason, nodeIdAdvice);
}

NodePath parsePath(const std::string& text) {
    NodePath path;
    std::string step;
    std::optional<unsigned> namespaceIndex;
    const auto finish = [&] {
        if (step.empty())
            refuseNode(text, "a name in the path is empty");
        path.push_back({namespaceIndex, step});
        step.clear();
        namespaceIndex.reset();
    };
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '/') {
            finish();
        } else if (text[i] == ':' && !namespaceIndex && wholeNumber<std::uint16_t>(step)) {
            namespaceIndex = wholeNumber<std::uint16_t>(step);
            step.clear();
        } else {
            if (text[i] == '&' && i + 1 < text.size())
                ++i;
            step += text[i];
        }
    }
    finish();
    return path;
}

bool isGuid(std::string_view text) {
    constexpr std::string_view pattern = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    return std::equal(text.begin(), text.end(), pattern.begin(), pattern.end(),
                      [](char c, char p) { return p == 'x' ? isHexDigit(c) : c == p; });
}

bool isBase64(std::string_view text) {
    const std::size_t padding = text.size() - (text.find_last_not_of('=') + 1);
    const auto isSymbol = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '/';
    };
    return !text.empty() && text.size() % 4 == 0 && padding <= 2 &&
           std::all_of(text.begin(), text.end() - static_cast<std::ptrdiff_t>(padding), isSymbol);
}

std::string canonicalIdentifier(const std::string& text, std::string_view identifier) {
    const char kind = identifier[0];
    std::string value(identifier.substr(2));
    if (kind == 'i') {
        const auto number = wholeNumber<std::uint32_t>(value);
        if (!number)
            refuseNode(text, "what follows i= must be a number from 0 to 4294967295");
        return "i=" + std::to_string(*number);
    }
    if (kind == 'g') {
        if (!isGuid(value))
            refuseNode(text, "what follows g= must be a GUID such as 09087e75-8e5e-499b-954f-f2a9603db28a");
        std::transform(value.begin(), value.end(), value.begin(), lowerCase);
    } else if (kind == 'b') {
        if (!isBase64(value))
            refuseNode(text, "what follows b= must be Base64");
    } else if (value.empty()) {
        refuseNode(text, "nothing follows s=");
    }
    return std::string(1, kind) + "=" + value;
}

std::string canonicalNodeId(const std::string& text) {
    std::string_view rest = text;
    std::string prefix;
    if (rest.substr(0, 3) == "ns=") {
        const std::size_t semicolon = rest.find(';');
        const auto index = wholeNumber<std::uint16_t>(rest.substr(3, semicolon - 3));
        if (semicolon == std::string_view::npos || !index)
            refuseNode(text, "ns= must be followed by a number from 0 to 65535 and a semicolon");
        if (*index != 0)
            prefix = "ns=" + std::to_string(*index) + ";";
        rest.remove_prefix(semicolon + 1);
    }
    if (rest.size() < 2 || rest[1] != '=' || std::string_view("isgb").find(rest[0]) == std::string_view::npos)
        refuseNode(text, "it begins with none of i=, s=, g= and b=");
    std::string nodeId = prefix + canonicalIdentifier(text, rest);
    if (nodeId.size() >= sizeof OpcUaNode::nodeId)
        refuseNode(text, "it is longer than " + std::to_string(sizeof OpcUaNode::nodeId - 1) + " bytes");
    return nodeId;
}

} // namespace

NodeReference parseNodeReference(const std::string& text) {
    if (!text.empty() && text[0] == '/')
        return parsePath(text);
    return canonicalNodeId(text);
}

bool looksLikeNode(std::string_view text) {
    constexpr std::string_view kinds = "isgb";
    return text.substr(0, 1) == "/" || text.substr(0, 3) == "ns=" ||
           (text.size() > 1 && text[1] == '=' && kinds.find(text[0]) != std::string_view::npos);
}

bool matches(const PathStep& step, const std::string& browseName) {
    const SplitName split = splitBrowseName(browseName);
    const bool namespaceFits =
        !step.namespaceIndex || *step.namespaceIndex == split.namespaceIndex.value_or(0);
    return namespaceFits && split.name == step.name;
}

std::string plainName(const std::string& browseName) {
    return std::string(splitBrowseName(browseName).name);
}

std::string pathStepText(const std::string& browseName) {
    const SplitName split = splitBrowseName(browseName);
    const unsigned index = split.namespaceIndex.value_or(0);
    std::string text = "/";
    // A name that looks like one with an index keeps its own, so that it is read back as it is.
    if (index != 0 || splitBrowseName(split.name).namespaceIndex)
        text += std::to_string(index) + ":";
    for (const char character : split.name) {
        if (reservedInPath.find(character) != std::string_view::npos)
            text += '&';
        text += character;
    }
    return text;
}

} // namespace opcua_cli
