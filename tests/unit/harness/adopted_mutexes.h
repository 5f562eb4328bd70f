#pragma once

namespace mutex_watch {

/// While one exists, mutexes that its thread initialises count as the library's, whoever seems to have
/// called: a constructor that the test calls itself may end in a jump to pthread_mutex_init.
class AdoptedMutexes {
public:
    AdoptedMutexes();
    ~AdoptedMutexes();
    AdoptedMutexes(const AdoptedMutexes&) = delete;
    AdoptedMutexes& operator=(const AdoptedMutexes&) = delete;
};

} // namespace mutex_watch
