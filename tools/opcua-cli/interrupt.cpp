#include "interrupt.h"

#include "failure.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace opcua_cli {
namespace {

// What the handler touches: it may run on any thread of the library.
std::atomic<int> received{0};
std::atomic<int> wakeUp{-1};
std::atomic<void (*)()> lastAct{nullptr};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<void (*)()>::is_always_lock_free);

void endAtOnce(int number) {
    if (void (*const act)() = lastAct)
        act();
    std::signal(number, SIG_DFL);
    raise(number);
}

void onSignal(int number) {
    const int savedError = errno;
    int none = 0;
    if (received.compare_exchange_strong(none, number)) {
        constexpr std::uint64_t once = 1;
        [[maybe_unused]] const ssize_t written = write(wakeUp, &once, sizeof once);
    } else if (number != SIGHUP) {
        // A terminal that goes away says so more than once, and nobody is waiting.
        endAtOnce(number);
    }
    errno = savedError;
}

struct WatchedSignal {
    int number;
    ExitCode exitCode;
    const char* explanation;
};

constexpr std::array<WatchedSignal, 3> watchedSignals{
    {{SIGINT, ExitCode::Interrupted, "interrupted"},
     {SIGTERM, ExitCode::Terminated, "asked to end"},
     {SIGHUP, ExitCode::HungUp, "the terminal was closed"}}};

/// Who starts a program with nohup wants it to outlive its terminal.
bool isIgnored(int number) {
    struct sigaction present{};
    return sigaction(number, nullptr, &present) == 0 && present.sa_handler == SIG_IGN;
}

} // namespace

void watchForInterrupt() {
    wakeUp = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    struct sigaction action{};
    action.sa_handler = onSignal;
    for (const WatchedSignal& watched : watchedSignals) {
        if (watched.number != SIGHUP || !isIgnored(SIGHUP))
            sigaction(watched.number, &action, nullptr);
    }
}

void throwIfInterrupted() {
    for (const WatchedSignal& watched : watchedSignals) {
        if (received == watched.number)
            throw Failure(watched.exitCode, {watched.explanation, {}});
    }
}

int interruptDescriptor() {
    return wakeUp;
}

void setLastAct(void (*act)()) {
    lastAct = act;
}

} // namespace opcua_cli
