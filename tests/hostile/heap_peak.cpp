#include "hostile/heap_peak.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZED
#else
#include <cerrno>
#include <malloc.h>
#endif

namespace {

std::atomic<std::ptrdiff_t> used{0};
std::atomic<std::ptrdiff_t> highest{0};

void count(std::ptrdiff_t bytes) {
    const std::ptrdiff_t now = used.fetch_add(bytes) + bytes;
    std::ptrdiff_t before = highest;
    while (now > before && !highest.compare_exchange_weak(before, now)) {
    }
}

} // namespace

HeapPeak::HeapPeak() : m_start(used) {
    highest = m_start;
}

std::size_t HeapPeak::growth() const {
    return static_cast<std::size_t>(std::max<std::ptrdiff_t>(highest - m_start, 0));
}

#ifdef SANITIZED

// The sanitizers' own, which not every compiler has a header for.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {
int __sanitizer_install_malloc_and_free_hooks(void (*onMalloc)(const volatile void*, std::size_t),
                                              void (*onFree)(const volatile void*));
std::size_t __sanitizer_get_allocated_size(const volatile void* memory);
}
// NOLINTEND(readability-identifier-naming)

namespace {

void onAllocation(const volatile void*, std::size_t size) {
    count(static_cast<std::ptrdiff_t>(size));
}
void onRelease(const volatile void* memory) {
    if (memory != nullptr)
        count(-static_cast<std::ptrdiff_t>(__sanitizer_get_allocated_size(memory)));
}
const int installed = __sanitizer_install_malloc_and_free_hooks(onAllocation, onRelease);

} // namespace

#else

// The C library's own allocator under the names that it reserves for this.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);
}
// NOLINTEND(readability-identifier-naming)

namespace {

std::ptrdiff_t sizeOf(void* memory) {
    return memory == nullptr ? 0 : static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
}
void* counted(void* memory) {
    count(sizeOf(memory));
    return memory;
}

} // namespace

// The libraries find these only when they are exported.
#define VISIBLE __attribute__((visibility("default")))

extern "C" VISIBLE void* malloc(std::size_t size) {
    return counted(__libc_malloc(size));
}
extern "C" VISIBLE void* calloc(std::size_t elements, std::size_t size) {
    return counted(__libc_calloc(elements, size));
}
extern "C" VISIBLE void* realloc(void* memory, std::size_t size) {
    const std::ptrdiff_t before = sizeOf(memory);
    void* moved = __libc_realloc(memory, size);
    if (moved != nullptr || size == 0)
        count(-before);
    return counted(moved);
}
extern "C" VISIBLE void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return counted(__libc_memalign(alignment, size));
}
extern "C" VISIBLE void* memalign(std::size_t alignment, std::size_t size) {
    return counted(__libc_memalign(alignment, size));
}
extern "C" VISIBLE int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    *memory = counted(__libc_memalign(alignment, size));
    return *memory == nullptr ? ENOMEM : 0;
}
extern "C" VISIBLE void free(void* memory) {
    count(-sizeOf(memory));
    __libc_free(memory);
}

#undef VISIBLE

#endif
