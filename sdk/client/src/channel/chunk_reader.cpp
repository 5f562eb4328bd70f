#include "channel/chunk_reader.h"

#include <cstring>

#include "encoding/wire.h"

namespace UaClientSdk {
namespace {

struct KnownKind {
    char name[4];
    ChunkKind kind;
    std::size_t smallest;
    bool mayBeInPieces;
};

/// What a server may send. An error message holds a status code and a text.
constexpr KnownKind knownKinds[] = {
    {"MSG", ChunkKind::Message, symmetricHeaderLength + sequenceHeaderLength, true},
    {"ACK", ChunkKind::Acknowledge, messageHeaderLength + 5 * uint32Length, false},
    {"OPN", ChunkKind::OpenChannel, channelHeaderLength, false},
    {"ERR", ChunkKind::Error, messageHeaderLength + 2 * uint32Length, false},
};

const KnownKind* findKind(const OpcUa_Byte* name) {
    for (const KnownKind& known : knownKinds)
        if (std::memcmp(name, known.name, 3) == 0)
            return &known;
    return nullptr;
}

bool readPosition(OpcUa_Byte letter, ChunkPosition& position) {
    switch (letter) {
    case 'F':
        position = ChunkPosition::Final;
        return true;
    case 'C':
        position = ChunkPosition::Intermediate;
        return true;
    case 'A':
        position = ChunkPosition::Abort;
        return true;
    default:
        return false;
    }
}

} // namespace

OpcUa_Byte* ChunkReader::room(std::size_t& size) {
    if (m_begin > 0) {
        std::memmove(m_buffer.get(), m_buffer.get() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
    }
    size = largestChunk - m_end;
    return m_buffer.get() + m_end;
}

UaStatus ChunkReader::next(Chunk& chunk, bool& found) {
    found = false;
    const std::size_t available = m_end - m_begin;
    if (available < messageHeaderLength)
        return UaStatus();
    OpcUa_Byte* const header = m_buffer.get() + m_begin;
    const KnownKind* const known = findKind(header);
    ChunkPosition position = ChunkPosition::Final;
    if (known == nullptr || !readPosition(header[3], position) ||
        (position != ChunkPosition::Final && !known->mayBeInPieces)) {
        return UA_STATUSCODE_BADTCPMESSAGETYPEINVALID;
    }
    const std::size_t size = readUInt32(header + 4);
    if (size > largestChunk)
        return UA_STATUSCODE_BADTCPMESSAGETOOLARGE;
    if (size < known->smallest)
        return UA_STATUSCODE_BADDECODINGERROR;
    if (available >= size) {
        chunk = {known->kind, position, header, size};
        m_begin += size;
        found = true;
    }
    return UaStatus();
}

} // namespace UaClientSdk
