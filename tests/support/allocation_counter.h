#pragma once

#include <cstddef>

namespace test_support {

/// Allocations that this thread has made. Counts in programs that compile allocation_counter.cpp, which
/// replaces malloc: not under a sanitizer, which has its own.
std::size_t allocations();

template <typename Action>
std::size_t allocationsDuring(Action action) {
    const std::size_t before = allocations();
    action();
    return allocations() - before;
}

} // namespace test_support
