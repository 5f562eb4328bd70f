#pragma once

#include <cstddef>

namespace test_support {

/// What the C library's heap takes for a block: it has a header of 8 bytes, is aligned to 16, and 32 at
/// least.
constexpr std::size_t heapBlock(std::size_t size) {
    const std::size_t block = (size + 8 + 15) / 16 * 16;
    return block < 32 ? 32 : block;
}

/// Allocations that this thread has made. Counts in programs that compile allocation_counter.cpp, which
/// replaces malloc; under a sanitizer, which has its own, sanitizer_allocation_counter.cpp.
std::size_t allocations();

/// What these took of the heap, with the heap's own overhead; nothing is subtracted when they are given back.
std::size_t allocatedBytes();

template <typename Action>
std::size_t allocationsDuring(Action action) {
    const std::size_t before = allocations();
    action();
    return allocations() - before;
}

template <typename Action>
std::size_t bytesAllocatedDuring(Action action) {
    const std::size_t before = allocatedBytes();
    action();
    return allocatedBytes() - before;
}

} // namespace test_support
