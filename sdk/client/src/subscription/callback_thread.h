#pragma once

#include <memory>
#include <thread>

#include "uabase/status.h"

namespace UaClientSdk {

/// What to run. The context lives until the task has run or was dropped. Posting one allocates nothing but
/// now and then room in the list.
struct CallbackTask {
    void (*function)(void* context, int argument) = nullptr;
    std::shared_ptr<void> context;
    int argument = 0;

    explicit operator bool() const { return function != nullptr; }
};

/// A thread for one kind of callback: runs what is posted to it, one at a time and in order. Nothing that
/// runs here can hold up the network or another kind of callback.
///
/// All may be called on any thread, its own included. The object may be destroyed by one of its own
/// callbacks, or while one runs that has called stop(): the thread then ends by itself when that callback
/// returns.
class CallbackThread {
public:
    using Task = CallbackTask;

    /// Null when no thread can be started; `status` then says so.
    static std::unique_ptr<CallbackThread> start(UaStatus& status);
    /// Same as stop(), but waits for no callback that has called it.
    ~CallbackThread();
    CallbackThread(const CallbackThread&) = delete;
    CallbackThread& operator=(const CallbackThread&) = delete;

    /// Nothing happens to what is posted after stop().
    void post(Task task);
    /// Drops what waits, runs `last` behind the task that is running, and ends the thread. Called from a
    /// callback it runs `last` at once and waits for nothing. After it returns nothing runs here any more but
    /// the callback that called stop(). Only the first call's `last` runs.
    void stop(const Task& last = Task());
    /// Waits until all that was posted before has run or was dropped. Not for use in a callback.
    void flush();

private:
    struct State;
    explicit CallbackThread(UaStatus& status);
    bool wasStoppedInside() const;
    static void run(State& state);
    static void runWaiting(State& state);
    static void execute(const Task& task);

    std::shared_ptr<State> m_state; ///< the thread's as well
    std::thread m_thread;
};

} // namespace UaClientSdk
