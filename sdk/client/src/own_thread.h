#pragma once

#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

#include "uabase/status.h"
#include "uabase/trace.h"

namespace UaClientSdk {

/// Blocks every signal but those of faults on the calling thread, and on those it starts meanwhile.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        // A fault's handler belongs to the thread whose fault it is.
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS})
            sigdelset(&all, fault);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t m_before;
};

/// Runs `function` on a thread of its own, where the application's signal handlers never run. When none can
/// be started `status` says so, with a line in the trace, and the thread that is returned is not joinable.
template <typename Function>
std::thread startOwnThread(Function&& function, UaStatus& status) {
    const SignalsBlocked blocked;
    try {
        return std::thread(std::forward<Function>(function));
    } catch (const std::system_error& error) {
        UaTrace::write(UaTrace::Errors, "session", "no thread can be started: %s", error.what());
        status = UA_STATUSCODE_BADRESOURCEUNAVAILABLE;
        return std::thread();
    }
}

} // namespace UaClientSdk
