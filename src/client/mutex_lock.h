#pragma once

#include <pthread.h>

/// Holds a mutex for the length of a scope.
class MutexLock {
public:
    explicit MutexLock(pthread_mutex_t& mutex) : m_mutex(mutex) { pthread_mutex_lock(&m_mutex); }
    ~MutexLock() { pthread_mutex_unlock(&m_mutex); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    pthread_mutex_t& m_mutex;
};
