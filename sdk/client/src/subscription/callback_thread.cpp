#include "subscription/callback_thread.h"

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "own_thread.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

/// Room that is there from the beginning, so that the few things that must be told can be when memory is
/// short.
constexpr std::size_t fewTasks = 64;

} // namespace

struct CallbackThread::State {
    State() { waiting.reserve(fewTasks); }

    std::mutex mutex;
    std::condition_variable wakeUp;
    std::condition_variable idle; ///< or ended
    std::vector<Task> waiting;
    bool running = false;
    bool stopping = false;
    bool stoppedInside = false; ///< by one of its own callbacks
    bool ended = false;
    Task last;
};

CallbackThread::CallbackThread(UaStatus& status)
    : m_state(std::make_shared<State>()),
      m_thread(startOwnThread([state = m_state] { run(*state); }, status)) {}

std::unique_ptr<CallbackThread> CallbackThread::start(UaStatus& status) {
    status = UaStatus();
    std::unique_ptr<CallbackThread> thread(new CallbackThread(status));
    return status.isGood() ? std::move(thread) : nullptr;
}

CallbackThread::~CallbackThread() {
    if (!m_thread.joinable())
        return;
    if (wasStoppedInside()) {
        m_thread.detach();
        return;
    }
    stop();
    if (std::this_thread::get_id() == m_thread.get_id())
        m_thread.detach();
    else
        m_thread.join();
}

/// The callback that has stopped it may be waiting for the very thread that destroys it now.
bool CallbackThread::wasStoppedInside() const {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->stoppedInside;
}

void CallbackThread::post(Task task) {
    // Notified under the lock: as soon as it is free, the task may destroy this object.
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    if (!m_state->stopping) {
        m_state->waiting.push_back(std::move(task));
        m_state->wakeUp.notify_one();
    }
}

void CallbackThread::stop(const Task& last) {
    const bool inCallback = std::this_thread::get_id() == m_thread.get_id();
    std::vector<Task> dropped;
    std::unique_lock<std::mutex> lock(m_state->mutex);
    const bool first = !m_state->stopping;
    if (first) {
        dropped.swap(m_state->waiting);
        m_state->stopping = true;
        m_state->stoppedInside = inCallback;
        m_state->wakeUp.notify_one();
    }
    if (!inCallback) {
        if (first)
            m_state->last = last;
        m_state->idle.wait(lock, [this] { return m_state->ended; });
    }
    lock.unlock();
    if (inCallback && first && last)
        execute(last);
}

void CallbackThread::flush() {
    std::unique_lock<std::mutex> lock(m_state->mutex);
    m_state->idle.wait(lock, [this] { return m_state->waiting.empty() && !m_state->running; });
}

void CallbackThread::run(State& state) {
    runWaiting(state);
    if (state.last)
        execute(state.last);
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.ended = true;
    state.idle.notify_all();
}

void CallbackThread::runWaiting(State& state) {
    std::vector<Task> batch;
    batch.reserve(fewTasks);
    std::unique_lock<std::mutex> lock(state.mutex);
    while (!state.stopping) {
        state.wakeUp.wait(lock, [&state] { return state.stopping || !state.waiting.empty(); });
        batch.swap(state.waiting); // each keeps its room
        state.running = true;
        for (std::size_t i = 0; i < batch.size() && !state.stopping; ++i) {
            lock.unlock();
            execute(batch[i]);
            lock.lock();
        }
        lock.unlock();
        batch.clear(); // a context may have much to free
        lock.lock();
        state.running = false;
        state.idle.notify_all();
    }
}

void CallbackThread::execute(const Task& task) {
    try {
        task.function(task.context.get(), task.argument);
    } catch (const std::exception& error) {
        UaTrace::write(UaTrace::Errors, "callback", "a callback threw: %s", error.what());
    } catch (...) {
        UaTrace::write(UaTrace::Errors, "callback", "a callback threw something that is no std::exception");
    }
}

} // namespace UaClientSdk
