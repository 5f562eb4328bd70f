#include "interrupt.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <functional>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>

#include "failure.h"

namespace opcua_cli {
namespace {

/// A server that answers has closed the session by then, also behind a browse of a thousand nodes.
constexpr std::chrono::seconds timeToEnd{2};
/// Longer than a recording waits for another program that keeps its file locked.
constexpr std::chrono::seconds timeToWrite{15};

// What the handler touches: it may run on any thread of the library.
std::atomic<int> received{0};
std::atomic<int> wakeUp{-1};
std::atomic<unsigned> forgotten{0}; ///< counts
std::atomic<int> writings{0};       ///< under way
std::atomic<const char*> lastWords{nullptr};
std::atomic<void (*)()> lastAct{nullptr};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<const char*>::is_always_lock_free &&
              std::atomic<void (*)()>::is_always_lock_free);

/// Nobody may hold the end up: what is full or stopped gets no words.
void writeNow(int descriptor, const char* words) {
    pollfd target{descriptor, POLLOUT, 0};
    if (words != nullptr && poll(&target, 1, 0) == 1 && (target.revents & POLLOUT) != 0) [[maybe_unused]]
        const ssize_t written = ::write(descriptor, words, std::strlen(words));
}

void takeLeave() {
    if (void (*const act)() = lastAct)
        act();
    writeNow(STDOUT_FILENO, lastWords);
}

void endAtOnce(int number) {
    takeLeave();
    std::signal(number, SIG_DFL);
    raise(number);
}

void onSignal(int number) {
    const int savedError = errno;
    int none = 0;
    if (received.compare_exchange_strong(none, number)) {
        constexpr std::uint64_t once = 1;
        [[maybe_unused]] const ssize_t written = ::write(wakeUp, &once, sizeof once);
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

[[noreturn]] void endNow(const WatchedSignal& watched) {
    const char* const reason =
        writings > 0 ? "not all could be written in time"
                     : "the server has not answered in time, and keeps a session until that one's time-out";
    takeLeave();
    writeNow(STDERR_FILENO,
             (std::string("opcua-cli: ") + watched.explanation + "; " + reason + "\n").c_str());
    _exit(static_cast<int>(watched.exitCode));
}

/// True when there was something to wait for and it is written.
bool awaitWritings(std::chrono::steady_clock::time_point deadline) {
    constexpr std::chrono::milliseconds pause{20};
    if (writings == 0)
        return false;
    while (writings > 0 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(pause);
    return writings == 0;
}

/// What is left to do behind the writing, such as to close the session, has its own time.
void giveTimeToEnd() {
    const auto deadline = std::chrono::steady_clock::now() + timeToEnd + timeToWrite;
    do
        std::this_thread::sleep_for(timeToEnd);
    while (awaitWritings(deadline));
}

/// Ends what does not end by itself. A shell forgets a signal that ended one of its commands; the next one
/// has its whole time again.
void endLate() {
    for (;;) {
        pollfd interrupt{wakeUp, POLLIN, 0};
        while (poll(&interrupt, 1, -1) < 1) {
        }
        const unsigned before = forgotten;
        giveTimeToEnd();
        const int number = received;
        if (forgotten != before)
            continue;
        for (const WatchedSignal& watched : watchedSignals)
            if (number == watched.number)
                endNow(watched);
    }
}

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
    for (const WatchedSignal& watched : watchedSignals)
        if (watched.number != SIGHUP || !isIgnored(SIGHUP))
            sigaction(watched.number, &action, nullptr);
    startThreadWithoutSignals(endLate).detach();
}

bool isInterrupted() {
    return received != 0;
}

void throwIfInterrupted() {
    for (const WatchedSignal& watched : watchedSignals)
        if (received == watched.number)
            throw Failure(watched.exitCode, {watched.explanation, {}});
}

void forgetInterrupt() {
    if (received != SIGINT)
        return;
    // In this order: a signal that comes once there is none is a new one, to wake everybody up.
    ++forgotten;
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = ::read(wakeUp, &count, sizeof count);
    received = 0;
}

Writing::Writing() {
    ++writings;
}

Writing::~Writing() {
    --writings;
}

void pauseFor(std::chrono::milliseconds time) {
    pollfd interrupt{wakeUp, POLLIN, 0};
    poll(&interrupt, 1, static_cast<int>(std::max<std::chrono::milliseconds::rep>(time.count(), 0)));
    throwIfInterrupted();
}

std::thread startThreadWithoutSignals(const std::function<void()>& work) {
    sigset_t all{};
    sigset_t before{};
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        std::thread thread(work);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        return thread;
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
}

int interruptDescriptor() {
    return wakeUp;
}

void setLastAct(void (*act)()) {
    lastAct = act;
}

void setLastWords(const char* text) {
    lastWords = text;
}

} // namespace opcua_cli
