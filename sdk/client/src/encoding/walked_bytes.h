#pragma once

#include <cstddef>
#include <cstring>

#include "uabase/byte_view.h"

namespace UaClientSdk {

/// Bytes and how far they were walked over.
class WalkedBytes {
public:
    explicit WalkedBytes(UaByteView bytes) : m_bytes(bytes) {}

    std::size_t position() const { return m_position; }
    std::size_t left() const { return m_bytes.size - m_position; }
    /// Of all of them.
    std::size_t size() const { return m_bytes.size; }

    // False when there are not as many.

    bool skip(std::size_t count) {
        if (count > left())
            return false;
        m_position += count;
        return true;
    }
    template <typename Number>
    bool read(Number& number) {
        if (left() < sizeof number)
            return false;
        std::memcpy(&number, m_bytes.data + m_position, sizeof number);
        m_position += sizeof number;
        return true;
    }
    /// Without walking on.
    template <typename Number>
    bool peek(Number& number) const {
        return WalkedBytes(*this).read(number);
    }

private:
    UaByteView m_bytes;
    std::size_t m_position = 0;
};

} // namespace UaClientSdk
