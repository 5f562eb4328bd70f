#pragma once

#include <mutex>
#include <pthread.h>

/// A POSIX mutex with default attributes.
class Mutex {
public:
    Mutex() : m_mutex() { pthread_mutex_init(&m_mutex, nullptr); }
    ~Mutex() { pthread_mutex_destroy(&m_mutex); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() { pthread_mutex_lock(&m_mutex); }
    void unlock() { pthread_mutex_unlock(&m_mutex); }

private:
    pthread_mutex_t m_mutex;
};

/// Holds one for the length of a scope.
using MutexLock = std::lock_guard<Mutex>;
