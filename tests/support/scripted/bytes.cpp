#include "support/scripted/bytes.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>

namespace scripted {

Bytes hex(const std::string& digits) {
    Bytes bytes;
    std::string pair;
    for (const char digit : digits) {
        if (std::isxdigit(static_cast<unsigned char>(digit)) != 0)
            pair += digit;
        if (pair.size() == 2) {
            bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
            pair.clear();
        }
    }
    return bytes;
}

Bytes Reader::take(std::size_t count) {
    if (!m_ok || count > m_bytes.size() - m_position) {
        m_ok = false;
        return {};
    }
    m_position += count;
    return m_bytes.substr(m_position - count, count);
}

Bytes Reader::text() {
    const std::uint32_t length = u32();
    return length == 0xFFFFFFFF ? Bytes() : take(length);
}

} // namespace scripted
