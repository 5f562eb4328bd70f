#include "support/request_recorder.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace test_support {
namespace {

/// Kind and size; channel, token, sequence number and request id.
constexpr std::size_t headerSize = 8;
constexpr std::size_t bodyOffset = 24;

} // namespace

void RequestRecorder::read(const char* bytes, std::size_t count) {
    m_stream.append(bytes, count);
    while (takeChunk()) {
    }
}

bool RequestRecorder::takeChunk() {
    std::uint32_t size = 0;
    if (m_stream.size() < headerSize)
        return false;
    std::memcpy(&size, m_stream.data() + 4, sizeof size);
    if (size < headerSize || m_stream.size() < size)
        return false;
    if (m_stream.compare(0, 3, "MSG") == 0 && size > bodyOffset) {
        m_body += m_stream.substr(bodyOffset, size - bodyOffset);
        if (m_stream[3] == 'F')
            m_requests.push_back(std::exchange(m_body, {}));
    }
    m_stream.erase(0, size);
    return true;
}

} // namespace test_support
