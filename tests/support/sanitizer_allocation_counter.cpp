// The same counts where a sanitizer has its own malloc. It is asked to tell of each block.

#include "support/allocation_counter.h"

// Of every sanitizer's runtime; not every compiler brings the header.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void*, std::size_t),
                                                         void (*freed)(const volatile void*));
// NOLINTEND(readability-identifier-naming)

namespace {

thread_local std::size_t count = 0;
thread_local std::size_t bytes = 0;

void note(const volatile void*, std::size_t size) {
    ++count;
    bytes += test_support::heapBlock(size);
}

void ignore(const volatile void*) {}

const int hooks = __sanitizer_install_malloc_and_free_hooks(note, ignore);

} // namespace

std::size_t test_support::allocations() {
    return hooks != 0 ? count : 0;
}

std::size_t test_support::allocatedBytes() {
    return bytes;
}
