#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace bench {

/// What an application does with a change; both kinds of client call it, on a thread of their own.
class ChangeSink {
public:
    virtual void changed(const void* value, std::size_t size) = 0;

protected:
    ~ChangeSink() = default;
};

/// Keeps the latest value alone, and the number of all.
class CountingSink final : public ChangeSink {
public:
    void changed(const void* value, std::size_t size) override {
        std::memcpy(&m_latest, value, std::min(size, sizeof m_latest));
        m_count.fetch_add(1, std::memory_order_relaxed);
    }
    std::uint64_t count() const { return m_count; }

private:
    std::uint64_t m_latest = 0;
    std::atomic<std::uint64_t> m_count{0};
};

} // namespace bench
