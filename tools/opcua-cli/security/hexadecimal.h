#pragma once

#include <string>
#include <string_view>

namespace opcua_cli {

/// Upper-case digits, two a byte.
inline std::string hexadecimal(std::string_view bytes) {
    constexpr const char* digits = "0123456789ABCDEF";
    std::string text;
    for (const char character : bytes) {
        const unsigned byte = static_cast<unsigned char>(character);
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    return text;
}

} // namespace opcua_cli
