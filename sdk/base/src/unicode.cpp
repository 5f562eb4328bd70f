#include "unicode.h"

#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

namespace {

constexpr char32_t replacement = 0xFFFD;
constexpr char32_t firstSurrogate = 0xD800;
constexpr char32_t firstLowSurrogate = 0xDC00;
constexpr char32_t afterSurrogates = 0xE000;
constexpr char32_t firstSupplementary = 0x10000;
constexpr char32_t lastCharacter = 0x10FFFF;

/// The form of a UTF-8 sequence by the length that its first byte announces.
struct SequenceForm {
    unsigned char leadMask;
    unsigned char lead;
    char32_t smallest;
};
constexpr SequenceForm sequenceForms[] = {
    {0x80, 0x00, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, firstSupplementary}};

char32_t takeUtf16(std::u16string_view& text) {
    const char32_t first = text.front();
    text.remove_prefix(1);
    if (first < firstSurrogate || first >= afterSurrogates)
        return first;
    if (first >= firstLowSurrogate || text.empty())
        return replacement;
    const char32_t second = text.front();
    if (second < firstLowSurrogate || second >= afterSurrogates)
        return replacement;
    text.remove_prefix(1);
    return firstSupplementary + ((first - firstSurrogate) << 10) + (second - firstLowSurrogate);
}

void appendUtf16(char32_t character, std::u16string& text) {
    if (character < firstSupplementary) {
        text += static_cast<char16_t>(character);
        return;
    }
    const char32_t offset = character - firstSupplementary;
    text += static_cast<char16_t>(firstSurrogate + (offset >> 10));
    text += static_cast<char16_t>(firstLowSurrogate + (offset & 0x3FF));
}

void appendUtf8(char32_t character, std::string& text) {
    std::size_t length = 1;
    while (length < std::size(sequenceForms) && character >= sequenceForms[length].smallest)
        ++length;
    const char32_t lead = sequenceForms[length - 1].lead;
    text += static_cast<char>(lead | (character >> (6 * (length - 1))));
    for (std::size_t i = length - 1; i > 0; --i)
        text += static_cast<char>(0x80 | ((character >> (6 * (i - 1))) & 0x3F));
}

} // namespace

std::optional<char32_t> takeCharacter(std::string_view& utf8) {
    const auto byteAt = [&utf8](std::size_t index) { return static_cast<unsigned char>(utf8[index]); };
    std::size_t length = 0;
    for (const SequenceForm& form : sequenceForms) {
        ++length;
        if ((byteAt(0) & form.leadMask) != form.lead || utf8.size() < length)
            continue;
        char32_t character = byteAt(0) & static_cast<unsigned char>(~form.leadMask);
        bool valid = true;
        for (std::size_t i = 1; i < length; ++i) {
            valid = valid && (byteAt(i) & 0xC0) == 0x80;
            character = (character << 6) | (byteAt(i) & 0x3FU);
        }
        valid = valid && character >= form.smallest && character <= lastCharacter &&
                (character < firstSurrogate || character >= afterSurrogates);
        if (!valid)
            break;
        utf8.remove_prefix(length);
        return character;
    }
    utf8.remove_prefix(1);
    return {};
}

std::u16string utf16FromUtf8(std::string_view utf8) {
    std::u16string utf16;
    utf16.reserve(utf8.size());
    while (!utf8.empty())
        appendUtf16(takeCharacter(utf8).value_or(replacement), utf16);
    return utf16;
}

std::string utf8FromUtf16(std::u16string_view utf16) {
    std::string utf8;
    utf8.reserve(utf16.size());
    while (!utf16.empty())
        appendUtf8(takeUtf16(utf16), utf8);
    return utf8;
}

std::size_t utf8Length(std::string_view utf8) {
    std::size_t length = 0;
    for (; !utf8.empty(); ++length)
        takeCharacter(utf8);
    return length;
}
