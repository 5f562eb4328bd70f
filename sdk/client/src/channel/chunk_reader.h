#pragma once

#include <cstddef>
#include <memory>

#include "uabase/byte_view.h"
#include "uabase/status.h"

namespace UaClientSdk {

// OPC UA Part 6, 7.1.2.2 and 6.7.2: the headers of a chunk.
constexpr std::size_t messageHeaderLength = 8;    ///< kind and size
constexpr std::size_t channelHeaderLength = 12;   ///< and the channel's id
constexpr std::size_t symmetricHeaderLength = 16; ///< and the token's
constexpr std::size_t sequenceHeaderLength = 8;   ///< sequence number and request id
constexpr std::size_t bodyOffset = symmetricHeaderLength + sequenceHeaderLength; ///< in a chunk of a message

/// As much as one chunk may have here, header included: room for an OPN with a certificate of 60 KB.
constexpr std::size_t largestChunk = 65536;

enum class ChunkKind { Acknowledge, Error, OpenChannel, Message };
enum class ChunkPosition { Intermediate, Final, Abort };

/// A whole chunk, its header included. What it points to belongs to the reader, and may be changed:
/// decryption does.
struct Chunk {
    ChunkKind kind = ChunkKind::Error;
    ChunkPosition position = ChunkPosition::Final;
    OpcUa_Byte* data = nullptr;
    std::size_t size = 0;

    UaByteView view() const { return {data, size}; }
};

/// Cuts what comes from a server into chunks. Kind and size of each are checked before anything else sees it.
class ChunkReader {
public:
    ChunkReader() : m_buffer(new OpcUa_Byte[largestChunk]) {}

    /// Where to put what arrives next, at most `size` bytes, never none. Invalidates the chunks that were
    /// given out.
    OpcUa_Byte* room(std::size_t& size);
    void arrived(std::size_t count) { m_end += count; }

    /// The next chunk, once it is whole: `found` tells. Bad when the bytes are no chunk of a server; the
    /// stream is of no use then.
    UaStatus next(Chunk& chunk, bool& found);

private:
    std::unique_ptr<OpcUa_Byte[]> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

} // namespace UaClientSdk
