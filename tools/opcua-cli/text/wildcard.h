#pragma once

#include <string>
#include <string_view>

namespace opcua_cli {

/// A pattern for whole names: "*" stands for any text, "?" for any one character.
class Wildcard {
public:
    Wildcard(std::string_view pattern, bool caseSensitive);

    bool matches(std::string_view name) const;

private:
    std::u32string folded(std::string_view text) const;

    bool m_caseSensitive;
    std::u32string m_pattern;
};

} // namespace opcua_cli
