#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

/// A caller's buffer between guard bytes. It starts out filled with a pattern, so that what an operation did
/// not write can be told.
class GuardedBuffer {
public:
    static constexpr unsigned char pattern = 0xCD;

    explicit GuardedBuffer(std::size_t size) : m_size(size), m_bytes(size + 2 * guard, pattern) {}

    void* data() { return m_bytes.data() + guard; }
    char* text() { return static_cast<char*>(data()); }

    std::string bytes(std::size_t count) const {
        return std::string(reinterpret_cast<const char*>(m_bytes.data()) + guard, count);
    }
    template <typename T>
    T as() const {
        T value;
        std::memcpy(&value, m_bytes.data() + guard, sizeof(value));
        return value;
    }

    /// Everything from `offset` to the end of the far guard, and the near guard, is untouched.
    bool untouchedFrom(std::size_t offset) const {
        return allPattern(0, guard) && allPattern(guard + offset, m_bytes.size());
    }
    bool untouched() const { return untouchedFrom(0); }
    bool guardsIntact() const { return untouchedFrom(m_size); }

private:
    static constexpr std::size_t guard = 64;

    bool allPattern(std::size_t from, std::size_t to) const {
        for (std::size_t i = from; i < to; ++i)
            if (m_bytes[i] != pattern)
                return false;
        return true;
    }

    std::size_t m_size;
    std::vector<unsigned char> m_bytes;
};
