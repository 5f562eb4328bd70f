#include "support/allocation_counter.h"

#include <cstddef>
#include <cstdlib>

// The C library's own allocator under the names that it reserves for this.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}
// NOLINTEND(readability-identifier-naming)

namespace {

thread_local std::size_t count = 0;
thread_local std::size_t bytes = 0;

void note(std::size_t size) {
    ++count;
    bytes += test_support::heapBlock(size);
}

} // namespace

std::size_t test_support::allocations() {
    return count;
}

std::size_t test_support::allocatedBytes() {
    return bytes;
}

// The libraries find these only when they are exported.
#define VISIBLE __attribute__((visibility("default")))

extern "C" VISIBLE void* malloc(std::size_t size) {
    note(size);
    return __libc_malloc(size);
}
extern "C" VISIBLE void* calloc(std::size_t elements, std::size_t size) {
    note(elements * size);
    return __libc_calloc(elements, size);
}
extern "C" VISIBLE void* realloc(void* memory, std::size_t size) {
    note(size);
    return __libc_realloc(memory, size);
}

#undef VISIBLE
