#include "callback_thread.h"

#include <exception>

#include "uabase/trace.h"

namespace UaClientSdk {

struct CallbackThread::State {
    std::mutex mutex;
    std::condition_variable wakeUp;
    std::condition_variable idle;
    std::deque<Task> tasks;
    bool running = false;
    bool stopping = false;
};

CallbackThread::CallbackThread() : m_state(std::make_shared<State>()) {
    m_thread = std::thread([state = m_state] { run(state); });
}

CallbackThread::~CallbackThread() {
    stop();
}

void CallbackThread::post(Task task) {
    // Notified under the lock: as soon as it is free, the task may destroy this object.
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    if (!m_state->stopping) {
        m_state->tasks.push_back(std::move(task));
        m_state->wakeUp.notify_one();
    }
}

void CallbackThread::stop(const Task& last) {
    if (!m_thread.joinable()) {
        return;
    }
    const bool inCallback = std::this_thread::get_id() == m_thread.get_id();
    {
        const std::lock_guard<std::mutex> lock(m_state->mutex);
        m_state->tasks.clear();
        if (last && !inCallback) {
            m_state->tasks.push_back(last);
        }
        m_state->stopping = true;
    }
    m_state->wakeUp.notify_one();
    if (inCallback) {
        m_thread.detach();
        if (last) {
            execute(last);
        }
    } else {
        m_thread.join();
    }
}

void CallbackThread::flush() {
    std::unique_lock<std::mutex> lock(m_state->mutex);
    m_state->idle.wait(lock, [this] { return m_state->tasks.empty() && !m_state->running; });
}

void CallbackThread::run(const std::shared_ptr<State>& state) {
    std::unique_lock<std::mutex> lock(state->mutex);
    for (;;) {
        state->wakeUp.wait(lock, [&state] { return state->stopping || !state->tasks.empty(); });
        if (state->tasks.empty()) {
            return;
        }
        const Task task = std::move(state->tasks.front());
        state->tasks.pop_front();
        state->running = true;
        lock.unlock();
        execute(task);
        lock.lock();
        state->running = false;
        state->idle.notify_all();
    }
}

void CallbackThread::execute(const Task& task) {
    try {
        task();
    } catch (const std::exception& error) {
        UaTrace::write(UaTrace::Errors, "callback", "a callback threw: %s", error.what());
    } catch (...) {
        UaTrace::write(UaTrace::Errors, "callback", "a callback threw something that is no std::exception");
    }
}

} // namespace UaClientSdk
