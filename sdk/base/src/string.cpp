#include "uabase/string.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "unicode.h"

namespace {

struct PlaceHolder {
    std::size_t position = std::string_view::npos;
    std::size_t length = 0;
    int number = 0;
};

int digitAt(std::string_view text, std::size_t position) {
    return position < text.size() && text[position] >= '0' && text[position] <= '9' ? text[position] - '0'
                                                                                    : -1;
}

PlaceHolder nextPlaceHolder(std::string_view text, std::size_t from) {
    for (std::size_t percent = text.find('%', from); percent != std::string_view::npos;
         percent = text.find('%', percent + 1)) {
        const int first = digitAt(text, percent + 1);
        if (first < 1)
            continue;
        const int second = digitAt(text, percent + 2);
        return second < 0 ? PlaceHolder{percent, 2, first} : PlaceHolder{percent, 3, first * 10 + second};
    }
    return {};
}

int lowestPlaceHolder(std::string_view text) {
    int lowest = 0;
    for (PlaceHolder found = nextPlaceHolder(text, 0); found.number > 0;
         found = nextPlaceHolder(text, found.position + found.length)) {
        if (lowest == 0 || found.number < lowest)
            lowest = found.number;
    }
    return lowest;
}

std::string padded(const std::string& value, int fieldWidth, char fill) {
    const std::size_t width =
        fieldWidth < 0 ? 0U - static_cast<unsigned int>(fieldWidth) : static_cast<unsigned int>(fieldWidth);
    const std::size_t length = utf8Length(value);
    if (length >= width)
        return value;
    const std::string padding(width - length, fill);
    return fieldWidth < 0 ? value + padding : padding + value;
}

} // namespace

UaString::UaString(const char* utf8) : m_text(utf8 != nullptr ? utf8 : "") {}

UaString::UaString(std::string utf8) : m_text(std::move(utf8)) {}

UaString::UaString(const OpcUa_String& text) {
    if (text.length > 0)
        m_text.assign(reinterpret_cast<const char*>(text.data), text.length);
}

UaUniString UaString::toUtf16() const {
    return UaUniString(utf16FromUtf8(m_text));
}

UaString UaString::arg(const UaString& value, int fieldWidth, char fill) const {
    const int lowest = lowestPlaceHolder(m_text);
    if (lowest == 0)
        return *this;
    const std::string replacement = padded(value.m_text, fieldWidth, fill);
    std::string result;
    std::size_t copied = 0;
    for (PlaceHolder found = nextPlaceHolder(m_text, 0); found.number > 0;
         found = nextPlaceHolder(m_text, found.position + found.length)) {
        if (found.number != lowest)
            continue;
        result.append(m_text, copied, found.position - copied).append(replacement);
        copied = found.position + found.length;
    }
    return UaString(result.append(m_text, copied, std::string::npos));
}

OpcUa_String UaString::view() const {
    return {m_text.size(), reinterpret_cast<OpcUa_Byte*>(const_cast<char*>(m_text.data()))};
}

void UaString::wipe() {
    if (!m_text.empty())
        explicit_bzero(m_text.data(), m_text.size());
    m_text.clear();
}

UaUniString::UaUniString(const char* utf8) : m_text(utf16FromUtf8(utf8 != nullptr ? utf8 : "")) {}

UaString UaUniString::toUtf8() const {
    return UaString(utf8FromUtf16(m_text));
}
