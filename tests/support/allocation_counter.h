#pragma once

#include <cstddef>

namespace test_support {

/// Allocations that this thread has made. Counts in programs that compile allocation_counter.cpp, which
/// replaces malloc: not under a sanitizer, which has its own.
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
