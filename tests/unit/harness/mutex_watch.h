#pragma once

#include <vector>

/// Follows the POSIX mutexes of libopcuaclient: this program interposes the pthread functions. A mutex is
/// known by the order in which the library initialised it since reset(), beginning with 0. Initialising and
/// destroying one goes into the stand-in's record as well.
namespace mutex_watch {

/// Numbers of a client's mutexes, by the order in which its constructor makes them.
constexpr int statusMutex = 0;
constexpr int bookkeepingMutex = 1;
constexpr int clientMutex = 2;

/// Only while the library has no mutex alive.
void reset();
/// Mutexes that exist.
int alive();
/// What the calling thread holds, in order of locking.
std::vector<int> held();
/// Everything that was locked since forgetLocks(), by any thread, in order.
std::vector<int> locked();
void forgetLocks();

} // namespace mutex_watch
