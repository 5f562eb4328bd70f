#pragma once

#include <memory>
#include <thread>

namespace UaClientSdk {

/// What to run. The context lives until the task has run or was dropped. Posting one allocates nothing but
/// now and then room in the list.
struct CallbackTask {
    void (*function)(void* context, int argument) = nullptr;
    std::shared_ptr<void> context;
    int argument = 0;

    explicit operator bool() const { return function != nullptr; }
};

/// The session's SDK thread: runs what is posted to it, one at a time and in order. Nothing that runs here
/// can hold up the network.
///
/// The object may be destroyed by one of its own callbacks: the thread then ends by itself when that callback
/// returns.
class CallbackThread {
public:
    using Task = CallbackTask;

    CallbackThread();
    /// Same as stop().
    ~CallbackThread();
    CallbackThread(const CallbackThread&) = delete;
    CallbackThread& operator=(const CallbackThread&) = delete;

    void post(Task task);
    /// Drops what waits, runs `last` behind the task that is running, and ends the thread. Called from a
    /// callback it runs `last` at once. After it returns nothing runs here any more.
    void stop(const Task& last = Task());
    /// Waits until all that was posted before has run. Not for use in a callback.
    void flush();

private:
    struct State;
    static void run(const std::shared_ptr<State>& state);
    static void execute(const Task& task);

    std::shared_ptr<State> m_state;
    std::thread m_thread;
};

} // namespace UaClientSdk
