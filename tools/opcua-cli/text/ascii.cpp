#include "text/ascii.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>

#include "text/utf8.h"

namespace opcua_cli {

namespace {

/// The text with question marks in the place of some characters, as many as these are wide.
template <typename Replaces>
std::string withQuestionMarks(std::string_view text, Replaces replaces) {
    std::string result;
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t end = begin + 1;
        while (end < text.size() && isContinuation(text[end]))
            ++end;
        const std::string_view character = text.substr(begin, end - begin);
        if (replaces(character))
            result.append(displayWidth(character), '?');
        else
            result += character;
        begin = end;
    }
    return result;
}

} // namespace

bool localeHasUtf8() {
    // By name: the locale that a remote login hands on need not be installed here.
    for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = std::getenv(variable);
        if (value == nullptr || *value == '\0')
            continue;
        const std::string_view name(value);
        const std::size_t dot = name.find('.');
        const std::string_view codeset = dot == std::string_view::npos ? "" : name.substr(dot + 1);
        const std::string_view plain = codeset.substr(0, codeset.find('@'));
        return sameWord(plain, "UTF-8") || sameWord(plain, "utf8");
    }
    return false;
}

std::string asciiText(std::string_view text) {
    return withQuestionMarks(text, [](std::string_view character) {
        return character.size() != 1 || static_cast<unsigned char>(character[0]) >= 0x80;
    });
}

std::string withoutControlBytes(std::string_view text) {
    return withQuestionMarks(text, [](std::string_view character) {
        return std::any_of(character.begin(), character.end(), [](char byte) {
            const auto value = static_cast<unsigned char>(byte);
            return value >= 0x80 && value < 0xA0;
        });
    });
}

} // namespace opcua_cli
