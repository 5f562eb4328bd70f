#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace UaClientSdk {

using Clock = std::chrono::steady_clock;

/// A point in time that a whole operation must keep.
class Deadline {
public:
    explicit Deadline(std::int64_t milliseconds)
        : m_end(Clock::now() + std::chrono::milliseconds(milliseconds)) {}
    explicit Deadline(Clock::time_point end) : m_end(end) {}

    Clock::time_point end() const { return m_end; }
    /// Milliseconds left, rounded up; 0 when it is over.
    int remaining() const { return remaining(Clock::now()); }
    int remaining(Clock::time_point now) const {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_end - now).count();
        return static_cast<int>(std::clamp<std::int64_t>(left, 0, INT32_MAX));
    }
    bool expired() const { return Clock::now() >= m_end; }

private:
    Clock::time_point m_end;
};

} // namespace UaClientSdk
