#include "text/utf8.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstddef>
#include <cstdio>
#include <cwchar>
#include <string>
#include <string_view>

#include "text/drawing.h"

namespace opcua_cli {
namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

struct Character {
    char32_t value;
    std::size_t size; ///< bytes, at least 1
    bool valid;
};

unsigned char byteAt(std::string_view text, std::size_t index) {
    return static_cast<unsigned char>(text[index]);
}

std::size_t sequenceLength(unsigned char first) {
    if (first < 0x80)
        return 1;
    if (first >= 0xC2 && first <= 0xDF)
        return 2;
    if (first >= 0xE0 && first <= 0xEF)
        return 3;
    if (first >= 0xF0 && first <= 0xF4)
        return 4;
    return 0;
}

/// The first character of a text that is not empty. An invalid one is a single byte.
Character firstCharacter(std::string_view text) {
    constexpr std::array<char32_t, 5> leastValue{0, 0, 0x80, 0x800, 0x10000};
    constexpr std::array<char32_t, 5> leadMask{0, 0x7F, 0x1F, 0x0F, 0x07};
    const Character broken{0, 1, false};
    const std::size_t length = sequenceLength(byteAt(text, 0));
    if (length == 0 || length > text.size())
        return broken;
    char32_t value = byteAt(text, 0) & leadMask[length];
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(text[i]))
            return broken;
        value = (value << 6) | (byteAt(text, i) & 0x3F);
    }
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    if (value < leastValue[length] || surrogate || value > 0x10FFFF)
        return broken;
    return {value, length, true};
}

bool isControl(char32_t value) {
    return value < 0x20 || (value >= 0x7F && value < 0xA0);
}

bool isDirectionOrLineMark(char32_t value) {
    return value == 0x061C || value == 0x200E || value == 0x200F || (value >= 0x2028 && value <= 0x202E) ||
           (value >= 0x2066 && value <= 0x2069);
}

bool steersATerminal(char32_t value) {
    return isControl(value) || isDirectionOrLineMark(value);
}

std::string visibleForm(char32_t value) {
    if (value == '\n')
        return "\\n";
    if (value == '\r')
        return "\\r";
    if (value == '\t')
        return "\\t";
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), isControl(value) ? "\\x%02x" : "\\u{%x}",
                  static_cast<unsigned>(value));
    return text.data();
}

std::string jsonForm(char32_t value) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(value));
    return text.data();
}

/// The text with the form of each character in its place.
template <typename Form>
std::string rewritten(std::string_view text, Form form) {
    std::string result;
    while (!text.empty()) {
        const Character character = firstCharacter(text);
        result += form(character, text.substr(0, character.size));
        text.remove_prefix(character.size);
    }
    return result;
}

std::size_t characterWidth(const Character& character) {
    // wcwidth() knows wide characters in a UTF-8 locale only; C.UTF-8 is built into the C library.
    static const bool widthsKnown = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr;
    if (!widthsKnown || !character.valid)
        return 1;
    const int width = wcwidth(static_cast<wchar_t>(character.value));
    return width < 0 ? 1 : static_cast<std::size_t>(width);
}

} // namespace

bool sameWord(std::string_view one, std::string_view other) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [&](char a, char b) { return lower(a) == lower(b); });
}

std::u32string charactersOf(std::string_view text) {
    constexpr char32_t replacement = 0xFFFD;
    std::u32string characters;
    while (!text.empty()) {
        const Character character = firstCharacter(text);
        characters += character.valid ? character.value : replacement;
        text.remove_prefix(character.size);
    }
    return characters;
}

bool isValidUtf8(std::string_view text) {
    while (!text.empty()) {
        const Character character = firstCharacter(text);
        if (!character.valid)
            return false;
        text.remove_prefix(character.size);
    }
    return true;
}

std::string_view withoutCutCharacter(std::string_view text) {
    for (std::size_t tail = 1; tail <= std::min<std::size_t>(3, text.size()); ++tail) {
        const char byte = text[text.size() - tail];
        if (isContinuation(byte))
            continue;
        return sequenceLength(static_cast<unsigned char>(byte)) > tail ? text.substr(0, text.size() - tail)
                                                                       : text;
    }
    return text;
}

std::string printable(std::string_view text) {
    return rewritten(text, [](const Character& character, std::string_view piece) {
        if (!character.valid)
            return std::string(replacementCharacter);
        return steersATerminal(character.value) ? visibleForm(character.value) : std::string(piece);
    });
}

std::string printableJson(std::string_view json) {
    return rewritten(json, [](const Character& character, std::string_view piece) {
        // Below that it is JSON's own white space; within a string it has its form already.
        const bool isWritten = character.valid && character.value >= 0x20 && steersATerminal(character.value);
        return isWritten ? jsonForm(character.value) : std::string(piece);
    });
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        const Character character = firstCharacter(text);
        width += characterWidth(character);
        text.remove_prefix(character.size);
    }
    return width;
}

std::string cutToWidth(std::string_view text, std::size_t width) {
    const std::string dots = drawing().dots;
    const std::size_t dotsWidth = displayWidth(dots);
    std::size_t used = 0;
    std::size_t end = 0;           // end of the text that has been measured
    std::size_t endBeforeDots = 0; // end of what still fits with the dots behind it
    while (end < text.size()) {
        const Character character = firstCharacter(text.substr(end));
        used += characterWidth(character);
        if (used > width)
            return std::string(text.substr(0, endBeforeDots)) +
                   (width < dotsWidth ? dots.substr(0, width) : dots);
        end += character.size;
        if (used + dotsWidth <= width)
            endBeforeDots = end;
    }
    return std::string(text);
}

} // namespace opcua_cli
