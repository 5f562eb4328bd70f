#pragma once

#include <cstddef>

#include "uabase/held_bytes.h"

namespace UaClientSdk {

/// Adds up what would be taken of the C library's heap, with the heap's own overhead, up to a bound.
class HeapUse {
public:
    explicit HeapUse(std::size_t bound) : m_bound(bound) {}

    std::size_t taken() const { return m_taken; }
    bool isTooMuch() const { return m_taken > m_bound; }

    /// False when it is too much.
    bool take(std::size_t bytes) {
        m_taken += bytes;
        return !isTooMuch();
    }
    bool takeBlock(std::size_t bytes) { return take(heapBlock(bytes)); }

private:
    std::size_t m_taken = 0;
    std::size_t m_bound;
};

} // namespace UaClientSdk
