#include "mutex_watch.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <pthread.h>
#include <string>
#include <vector>

#include "adopted_mutexes.h"
#include "standin/standin.h"
#include "support/next_definition.h"

namespace {

constexpr std::size_t capacity = 256;

// Fixed arrays of atomics: these are reached from inside every lock in the process, allocations included.
std::array<std::atomic<pthread_mutex_t*>, capacity> known;
std::atomic<std::size_t> knownCount{0};
std::array<std::atomic<int>, capacity> lockLog;
std::atomic<std::size_t> lockCount{0};

thread_local std::array<int, 16> heldNumbers;
thread_local std::size_t heldCount = 0;
thread_local bool adopting = false;

/// Negative for a mutex that is not the library's.
int numberOf(const pthread_mutex_t* mutex) {
    const std::size_t count = knownCount.load(std::memory_order_acquire);
    for (std::size_t i = 0; i < count; ++i)
        if (known[i].load(std::memory_order_relaxed) == mutex)
            return static_cast<int>(i);
    return -1;
}

bool calledByClientLibrary(const void* returnAddress) {
    Dl_info info;
    return dladdr(returnAddress, &info) != 0 && info.dli_fname != nullptr &&
           std::strstr(info.dli_fname, "libopcuaclient.so") != nullptr;
}

void noteLocked(const pthread_mutex_t* mutex) {
    const int number = numberOf(mutex);
    if (number < 0)
        return;
    const std::size_t position = lockCount.fetch_add(1);
    if (position < capacity)
        lockLog[position] = number;
    if (heldCount == heldNumbers.size())
        std::abort();
    heldNumbers[heldCount++] = number;
}

void noteUnlocked(const pthread_mutex_t* mutex) {
    const int number = numberOf(mutex);
    if (number < 0)
        return;
    int* const end = heldNumbers.data() + heldCount;
    int* const held = std::find(heldNumbers.data(), end, number);
    if (held != end) {
        std::copy(held + 1, end, held);
        --heldCount;
    }
}

} // namespace

namespace mutex_watch {

AdoptedMutexes::AdoptedMutexes() {
    adopting = true;
}

AdoptedMutexes::~AdoptedMutexes() {
    adopting = false;
}

void reset() {
    knownCount = 0;
    lockCount = 0;
}

int alive() {
    int result = 0;
    for (std::size_t i = 0; i < knownCount; ++i)
        result += known[i].load() != nullptr ? 1 : 0;
    return result;
}

std::vector<int> held() {
    return {heldNumbers.data(), heldNumbers.data() + heldCount};
}

std::vector<int> locked() {
    std::vector<int> result;
    const std::size_t count = std::min(lockCount.load(), capacity);
    for (std::size_t i = 0; i < count; ++i)
        result.push_back(lockLog[i]);
    return result;
}

void forgetLocks() {
    lockCount = 0;
}

} // namespace mutex_watch

extern "C" {

#define UNIT_EXPORT __attribute__((visibility("default")))

UNIT_EXPORT int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) noexcept {
    static const auto next =
        nextDefinition<int (*)(pthread_mutex_t*, const pthread_mutexattr_t*)>("pthread_mutex_init");
    const int result = next(mutex, attributes);
    if (!adopting && !calledByClientLibrary(__builtin_return_address(0)))
        return result;
    const std::size_t number = knownCount.load();
    if (number == capacity)
        std::abort();
    known[number] = mutex;
    knownCount = number + 1;
    standin::script().record("pthread_mutex_init", nullptr,
                             std::to_string(number) + (attributes != nullptr ? " with attributes" : ""));
    return result;
}

UNIT_EXPORT int pthread_mutex_destroy(pthread_mutex_t* mutex) noexcept {
    static const auto next = nextDefinition<int (*)(pthread_mutex_t*)>("pthread_mutex_destroy");
    const int number = numberOf(mutex);
    if (number >= 0) {
        known[static_cast<std::size_t>(number)] = nullptr;
        standin::script().record("pthread_mutex_destroy", nullptr, std::to_string(number));
    }
    return next(mutex);
}

UNIT_EXPORT int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    static const auto next = nextDefinition<int (*)(pthread_mutex_t*)>("pthread_mutex_lock");
    const int result = next(mutex);
    if (result == 0)
        noteLocked(mutex);
    return result;
}

UNIT_EXPORT int pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept {
    static const auto next = nextDefinition<int (*)(pthread_mutex_t*)>("pthread_mutex_trylock");
    const int result = next(mutex);
    if (result == 0)
        noteLocked(mutex);
    return result;
}

UNIT_EXPORT int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    static const auto next = nextDefinition<int (*)(pthread_mutex_t*)>("pthread_mutex_unlock");
    noteUnlocked(mutex);
    return next(mutex);
}
}
