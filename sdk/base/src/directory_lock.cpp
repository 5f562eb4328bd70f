#include "uabase/directory_lock.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <system_error>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

/// The system has no wait for a lock that ends.
constexpr std::chrono::milliseconds untilNextTry(5);

/// 0, or why there is no lock.
int lockUntil(int descriptor, Clock::time_point end) {
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return errno;
        if (Clock::now() >= end)
            return ETIMEDOUT;
        std::this_thread::sleep_for(untilNextTry);
    }
    return 0;
}

} // namespace

UaDirectoryLock::UaDirectoryLock(const UaString& directory, std::chrono::milliseconds limit)
    : m_directory(
          ::open(directory.isEmpty() ? "." : directory.toUtf8(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    const int error = isHeld() ? lockUntil(m_directory.get(), Clock::now() + limit) : errno;
    if (error != 0) {
        release();
        m_problem =
            error == ETIMEDOUT ? "somebody else keeps it locked" : std::generic_category().message(error);
    }
}

UaDirectoryLock::~UaDirectoryLock() {
    release();
}

void UaDirectoryLock::release() {
    if (isHeld())
        ::flock(m_directory.get(),
                LOCK_UN); // a child process that was forked meanwhile has the descriptor as well
    m_directory.close();
}
