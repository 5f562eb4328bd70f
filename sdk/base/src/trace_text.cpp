#include "trace_text.h"

#include <cstdio>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "unicode.h"

namespace {

struct Range {
    char32_t first;
    char32_t last;
};
/// Of more than one byte: the C1 controls, the marks and overrides of direction, the ends of line and
/// paragraph.
constexpr Range notShown[] = {
    {0x80, 0x9F}, {0x061C, 0x061C}, {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};

bool isShown(char32_t character) {
    if (character < 0x20 || character == 0x7F)
        return false;
    for (const Range& range : notShown)
        if (character >= range.first && character <= range.last)
            return false;
    return true;
}

using WrittenOut = char[sizeof "\\u202E"];

std::string_view writtenOut(std::string_view bytes, WrittenOut& buffer, std::optional<char32_t> character) {
    const bool isByte = bytes.size() == 1;
    const unsigned int number =
        isByte ? static_cast<unsigned char>(bytes.front()) : static_cast<unsigned int>(*character);
    const int length = std::snprintf(buffer, std::size(buffer), isByte ? "\\x%02X" : "\\u%04X", number);
    return {buffer, static_cast<std::size_t>(length)};
}

} // namespace

void appendTraceText(std::string_view text, std::size_t limit, std::string& line) {
    const std::size_t end = line.size() + limit;
    while (!text.empty()) {
        std::string_view shown = text;
        const std::optional<char32_t> character = takeCharacter(text);
        shown.remove_suffix(text.size());
        WrittenOut buffer;
        if (!character || !isShown(*character))
            shown = writtenOut(shown, buffer, character);
        if (line.size() + shown.size() > end)
            return;
        line.append(shown);
    }
}
