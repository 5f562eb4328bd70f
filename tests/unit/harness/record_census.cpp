#include "record_census.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <unordered_map>
#include <utility>

#include "OpcUaTypes.h"

namespace {

/// The census must not count, or recurse through, its own allocations.
template <typename T>
struct MallocAllocator {
    using value_type = T; // NOLINT(readability-identifier-naming): the standard's name
    MallocAllocator() = default;
    template <typename U>
    MallocAllocator(const MallocAllocator<U>&) {}
    T* allocate(std::size_t count) {
        // NOLINTNEXTLINE(bugprone-sizeof-expression): the map asks for an array of pointers, too
        if (void* block = std::malloc(count * sizeof(T)))
            return static_cast<T*>(block);
        throw std::bad_alloc();
    }
    void deallocate(T* block, std::size_t) { std::free(block); }
    friend bool operator==(const MallocAllocator&, const MallocAllocator&) { return true; }
    friend bool operator!=(const MallocAllocator&, const MallocAllocator&) { return false; }
};

/// A block's place in the order of freeing; while it lives, 0.
using Place = long;
constexpr Place stillLive = 0;
using Blocks = std::unordered_map<const void*, Place, std::hash<const void*>, std::equal_to<const void*>,
                                  MallocAllocator<std::pair<const void* const, Place>>>;

constexpr int freshPattern = 0xA5;
constexpr int freedPattern = 0xDD;

struct Census {
    std::atomic_flag busy = ATOMIC_FLAG_INIT;
    Blocks* blocks = nullptr;
    long liveBlocks = 0;
    bool quarantine = false;
    long freedOnce = 0;
    long freedAgain = 0;
};

/// Constant-initialised: operator new runs before any constructor of this program does.
Census census;

class CensusLock {
public:
    CensusLock() {
        while (census.busy.test_and_set(std::memory_order_acquire)) {
        }
    }
    ~CensusLock() { census.busy.clear(std::memory_order_release); }
    CensusLock(const CensusLock&) = delete;
    CensusLock& operator=(const CensusLock&) = delete;
};

void* allocate(std::size_t size) noexcept {
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr || size != sizeof(OpcUaNode))
        return block;
    std::memset(block, freshPattern, size);
    const CensusLock lock;
    if (census.blocks == nullptr)
        census.blocks = new (std::malloc(sizeof(Blocks))) Blocks();
    (*census.blocks)[block] = stillLive;
    ++census.liveBlocks;
    return block;
}

void release(void* block) noexcept {
    if (block == nullptr)
        return;
    {
        const CensusLock lock;
        if (census.blocks != nullptr) {
            const auto found = census.blocks->find(block);
            if (found != census.blocks->end()) {
                if (found->second != stillLive) {
                    ++census.freedAgain;
                    return;
                }
                --census.liveBlocks;
                if (census.quarantine) {
                    found->second = ++census.freedOnce;
                    std::memset(block, freedPattern, sizeof(OpcUaNode));
                    return;
                }
                census.blocks->erase(found);
            }
        }
    }
    std::free(block);
}

void* allocateOrThrow(std::size_t size) {
    if (void* block = allocate(size))
        return block;
    throw std::bad_alloc();
}

} // namespace

namespace record_census {

long live() {
    const CensusLock lock;
    return census.liveBlocks;
}

Quarantine::Quarantine() {
    const CensusLock lock;
    census.quarantine = true;
    census.freedOnce = 0;
    census.freedAgain = 0;
}

Quarantine::~Quarantine() {
    const CensusLock lock;
    census.quarantine = false;
    if (census.blocks == nullptr)
        return;
    for (auto entry = census.blocks->begin(); entry != census.blocks->end();) {
        if (entry->second != stillLive) {
            std::free(const_cast<void*>(entry->first));
            entry = census.blocks->erase(entry);
        } else {
            ++entry;
        }
    }
}

long Quarantine::freedOnce() const {
    const CensusLock lock;
    return census.freedOnce;
}

long Quarantine::freedAgain() const {
    const CensusLock lock;
    return census.freedAgain;
}

long Quarantine::placeOf(const void* record) const {
    const CensusLock lock;
    const auto found = census.blocks->find(record);
    return found == census.blocks->end() ? 0 : found->second;
}

} // namespace record_census

#define UNIT_EXPORT __attribute__((visibility("default")))

UNIT_EXPORT void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
UNIT_EXPORT void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
UNIT_EXPORT void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
UNIT_EXPORT void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
UNIT_EXPORT void operator delete(void* block) noexcept {
    release(block);
}
UNIT_EXPORT void operator delete[](void* block) noexcept {
    release(block);
}
UNIT_EXPORT void operator delete(void* block, std::size_t) noexcept {
    release(block);
}
UNIT_EXPORT void operator delete[](void* block, std::size_t) noexcept {
    release(block);
}
UNIT_EXPORT void operator delete(void* block, const std::nothrow_t&) noexcept {
    release(block);
}
UNIT_EXPORT void operator delete[](void* block, const std::nothrow_t&) noexcept {
    release(block);
}
