#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace test_support {

/// Reads along what a client sends on an unencrypted connection and keeps the bodies of its requests (OPC UA
/// Part 6, 6.7.2): type and content.
class RequestRecorder {
public:
    /// The next bytes of the stream, in pieces of any length.
    void read(const char* bytes, std::size_t count);

    const std::vector<std::string>& requests() const { return m_requests; }
    void forget() { m_requests.clear(); }

private:
    bool takeChunk();

    std::string m_stream;
    std::string m_body; ///< of a message whose last chunk is not here yet
    std::vector<std::string> m_requests;
};

} // namespace test_support
