#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>

/// What the operator types, on its way from the thread that reads it to the thread that works.
class Lines {
public:
    void push(const std::string& line) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.push_back(line);
        m_changed.notify_all();
    }
    /// The operator is gone.
    void close() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
        m_changed.notify_all();
    }
    bool isClosed() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_closed;
    }
    /// What was typed before a question is no answer to it.
    void clear() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.clear();
    }
    /// Waits for the next line. False when there was none in time, or the operator is gone.
    bool next(std::string& line, std::chrono::milliseconds limit) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, limit, [this] { return m_closed || !m_lines.empty(); });
        return take(line);
    }
    bool next(std::string& line) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_closed || !m_lines.empty(); });
        return take(line);
    }

private:
    bool take(std::string& line) {
        if (m_closed || m_lines.empty())
            return false;
        line = m_lines.front();
        m_lines.pop_front();
        return true;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::string> m_lines;
    bool m_closed = false;
};
