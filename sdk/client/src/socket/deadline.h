#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <ctime>

namespace UaClientSdk {

/// Goes on while the machine is suspended, as the server's clock does: a token is over then, too.
struct Clock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<Clock>;
    static constexpr bool is_steady = true;

    static time_point now() {
        timespec time{};
        clock_gettime(CLOCK_BOOTTIME, &time);
        return time_point(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
    }
};

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
