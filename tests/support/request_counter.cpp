#include "support/request_counter.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace test_support {

void RequestCounter::read(const char* bytes, std::size_t count) {
    while (count > 0) {
        const bool inHead = m_restOfChunk == 0;
        const std::size_t taken = std::min(count, inHead ? headSize - m_headCount : m_restOfChunk);
        if (inHead) {
            std::copy_n(bytes, taken, m_head.begin() + m_headCount);
            m_headCount += taken;
            if (m_headCount == headSize)
                headIsComplete();
        } else {
            m_restOfChunk -= taken;
        }
        bytes += taken;
        count -= taken;
    }
}

void RequestCounter::headIsComplete() {
    std::uint32_t chunkSize = 0;
    std::uint16_t type = 0;
    std::memcpy(&chunkSize, &m_head[4], sizeof chunkSize);
    std::memcpy(&type, &m_head[26], sizeof type);
    m_restOfChunk = std::max<std::size_t>(chunkSize, headSize) - headSize;
    m_headCount = 0;
    if (std::memcmp(m_head.data(), "MSG", 3) == 0) {
        if (!m_insideMessage)
            ++m_counts[type];
        m_insideMessage = m_head[3] == 'C';
    }
}

} // namespace test_support
