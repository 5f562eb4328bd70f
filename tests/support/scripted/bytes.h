#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

// Bytes of the wire (OPC UA Part 6, 5.2 and 7.1.2): numbers are little endian.
namespace scripted {

using Bytes = std::string;

inline Bytes u8(unsigned value) {
    return Bytes(1, static_cast<char>(value));
}

inline Bytes u32(std::uint32_t value) {
    Bytes bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

/// A String or ByteString: its length and its content.
inline Bytes lengthAnd(const Bytes& content) {
    return u32(static_cast<std::uint32_t>(content.size())) + content;
}

/// The null String or ByteString.
inline Bytes nullText() {
    return u32(0xFFFFFFFF);
}

/// The text behind "FF 00"; blanks between bytes may be left out.
Bytes hex(const std::string& digits);

inline Bytes repeated(const Bytes& bytes, std::size_t times) {
    Bytes all;
    all.reserve(bytes.size() * times);
    for (std::size_t i = 0; i < times; ++i)
        all += bytes;
    return all;
}

/// Takes numbers and texts off the front of what arrived. Beyond the end everything is 0 or empty, and ok()
/// is false.
class Reader {
public:
    explicit Reader(const Bytes& bytes) : m_bytes(bytes) {}

    std::uint8_t u8() { return number<std::uint8_t>(); }
    std::uint16_t u16() { return number<std::uint16_t>(); }
    std::uint32_t u32() { return number<std::uint32_t>(); }
    Bytes take(std::size_t count);
    Bytes text();
    Bytes rest() { return take(m_bytes.size() - m_position); }
    std::size_t position() const { return m_position; }
    bool ok() const { return m_ok; }

private:
    template <class Number>
    Number number() {
        Number value = 0;
        const Bytes taken = take(sizeof value);
        if (m_ok)
            std::memcpy(&value, taken.data(), sizeof value);
        return value;
    }

    const Bytes& m_bytes;
    std::size_t m_position = 0;
    bool m_ok = true;
};

} // namespace scripted
