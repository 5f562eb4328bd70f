#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "uabase/byte_view.h"

/// The bytes of an input, taken off its front. What is no more there is 0, or shorter.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_rest(data, size) {}

    bool isEmpty() const { return m_rest.size == 0; }
    /// Little-endian, as on the wire.
    template <typename Number>
    Number number() {
        static_assert(std::is_unsigned_v<Number>);
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < sizeof(Number); ++i) {
            const std::uint64_t byte = bytes(1).size == 1 ? m_rest.data[-1] : 0;
            value |= byte << (8 * i);
        }
        return static_cast<Number>(value);
    }
    UaByteView bytes(std::size_t count) {
        const UaByteView taken = m_rest.first(std::min(count, m_rest.size));
        m_rest = m_rest.from(taken.size);
        return taken;
    }
    UaByteView rest() { return bytes(m_rest.size); }

private:
    UaByteView m_rest;
};
