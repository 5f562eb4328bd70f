#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>

namespace test_support {

/// Reads along what a client sends and counts its requests by the numbers of their types (OPC UA Part 6,
/// 6.7.2 and 5.2.2.9). Needs a channel whose messages are not encrypted.
class RequestCounter {
public:
    /// The next bytes of the stream, in pieces of any length.
    void read(const char* bytes, std::size_t count);

    const std::map<std::uint16_t, int>& counts() const { return m_counts; }

private:
    /// Chunk header, channel, token, sequence number, request id, and the body's type as a four-byte node id.
    static constexpr std::size_t headSize = 28;

    void headIsComplete();

    std::array<char, headSize> m_head{};
    std::size_t m_headCount = 0;
    std::size_t m_restOfChunk = 0;
    bool m_insideMessage = false; ///< the last chunk was an intermediate one
    std::map<std::uint16_t, int> m_counts;
};

} // namespace test_support
