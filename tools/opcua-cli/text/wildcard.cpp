#include "text/wildcard.h"

#include <clocale>
#include <cstddef>
#include <cwctype>
#include <string>
#include <string_view>

#include "text/utf8.h"

namespace opcua_cli {
namespace {

char32_t lowerCase(char32_t character) {
    // Built into the C library: what the user's locale is does not matter.
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const auto wide = static_cast<wint_t>(character);
    return static_cast<char32_t>(unicode == nullptr ? std::towlower(wide) : towlower_l(wide, unicode));
}

} // namespace

Wildcard::Wildcard(std::string_view pattern, bool caseSensitive)
    : m_caseSensitive(caseSensitive), m_pattern(folded(pattern)) {}

std::u32string Wildcard::folded(std::string_view text) const {
    std::u32string characters = charactersOf(text);
    for (char32_t& character : characters)
        character = m_caseSensitive ? character : lowerCase(character);
    return characters;
}

bool Wildcard::matches(std::string_view name) const {
    const std::u32string text = folded(name);
    constexpr std::size_t none = std::u32string::npos;
    std::size_t at = 0;
    std::size_t lastStar = none; // it took the text up to `taken`; one more character when the rest fails
    std::size_t taken = 0;
    for (std::size_t next = 0; next < text.size();) {
        if (at < m_pattern.size() && m_pattern[at] == U'*') {
            lastStar = at++;
            taken = next;
        } else if (at < m_pattern.size() && (m_pattern[at] == U'?' || m_pattern[at] == text[next])) {
            ++at;
            ++next;
        } else if (lastStar != none) {
            at = lastStar + 1;
            next = ++taken;
        } else {
            return false;
        }
    }
    return m_pattern.find_first_not_of(U'*', at) == none;
}

} // namespace opcua_cli
