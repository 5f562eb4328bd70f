#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>

#include <gtest/gtest.h>

/// Ends the program when a case doesn't end by itself: what hangs is found, and named.
class TimeCap {
public:
    explicit TimeCap(std::chrono::seconds limit) : m_limit(limit) {
        const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
        m_name = std::string(test->test_suite_name()) + "." + test->name();
        m_thread = std::thread([this] { watch(); });
    }
    ~TimeCap() {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_over = true;
            m_changed.notify_all();
        }
        m_thread.join();
    }
    TimeCap(const TimeCap&) = delete;
    TimeCap& operator=(const TimeCap&) = delete;

    /// From now on.
    void set(std::chrono::seconds limit) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_limit = limit;
        m_start = Clock::now();
        m_changed.notify_all();
    }

private:
    using Clock = std::chrono::steady_clock;

    void watch() {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_over && Clock::now() < m_start + m_limit)
            m_changed.wait_until(lock, m_start + m_limit);
        if (!m_over) {
            std::cerr << m_name << " has not ended within " << m_limit.count() << " s" << std::endl;
            std::abort();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::chrono::seconds m_limit;
    Clock::time_point m_start = Clock::now();
    std::string m_name;
    bool m_over = false;
    std::thread m_thread;
};
