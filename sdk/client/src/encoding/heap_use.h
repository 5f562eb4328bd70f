#pragma once

#include <algorithm>
#include <cstddef>

namespace UaClientSdk {

/// Adds up what would be taken of the C library's heap, with the heap's own overhead, up to a bound.
class HeapUse {
public:
    explicit HeapUse(std::size_t bound) : m_bound(bound) {}

    std::size_t taken() const { return m_taken; }
    bool isTooMuch() const { return m_taken > m_bound; }

    /// What the heap takes for a block of so many bytes.
    static constexpr std::size_t block(std::size_t bytes) {
        constexpr std::size_t smallest = 32;
        constexpr std::size_t header = 8;
        constexpr std::size_t alignment = 16;
        return std::max(smallest, (bytes + header + alignment - 1) / alignment * alignment);
    }

    /// False when it is too much.
    bool take(std::size_t bytes) {
        m_taken += bytes;
        return !isTooMuch();
    }
    bool takeBlock(std::size_t bytes) { return take(block(bytes)); }

private:
    std::size_t m_taken = 0;
    std::size_t m_bound;
};

} // namespace UaClientSdk
