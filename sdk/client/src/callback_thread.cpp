#include "callback_thread.h"

#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "uabase/trace.h"

namespace UaClientSdk {

struct CallbackThread::State {
    std::mutex mutex;
    std::condition_variable wakeUp;
    std::condition_variable idle;
    std::vector<Task> waiting;
    bool running = false;
    bool stopping = false;
    Task last;
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
        m_state->waiting.push_back(std::move(task));
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
        m_state->waiting.clear();
        m_state->stopping = true;
        if (!inCallback) {
            m_state->last = last;
        }
        m_state->wakeUp.notify_one();
    }
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
    m_state->idle.wait(lock, [this] { return m_state->waiting.empty() && !m_state->running; });
}

void CallbackThread::run(const std::shared_ptr<State>& state) {
    std::vector<Task> batch;
    std::unique_lock<std::mutex> lock(state->mutex);
    while (!state->stopping) {
        state->wakeUp.wait(lock, [&state] { return state->stopping || !state->waiting.empty(); });
        batch.swap(state->waiting);
        state->running = true;
        for (const Task& task : batch) {
            if (state->stopping) {
                break;
            }
            lock.unlock();
            execute(task);
            lock.lock();
        }
        batch.clear();
        state->running = false;
        state->idle.notify_all();
    }
    const Task last = state->last;
    lock.unlock();
    if (last) {
        execute(last);
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
