#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace UaClientSdk {

/// A point in time that a whole operation must keep.
class Deadline {
public:
    explicit Deadline(std::int64_t milliseconds)
        : m_end(std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds)) {}

    /// Milliseconds left, rounded up; 0 when it is over.
    int remaining() const {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(m_end - std::chrono::steady_clock::now());
        return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
    }
    bool expired() const { return remaining() == 0; }

private:
    std::chrono::steady_clock::time_point m_end;
};

} // namespace UaClientSdk
