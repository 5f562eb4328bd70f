// What comes from a server before it is anything but bytes, in arbitrary pieces: a length, how often the
// piece arrives beside, the piece, and so on. The chunks are those that a look at all the bytes finds.

#include "channel/chunk_reader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "encoding/wire.h"
#include "fuzz_target.h"
#include "input.h"

using namespace UaClientSdk;

namespace {

/// Reads what arrived so far, chunk by chunk, and compares.
class Reading {
public:
    /// False when the bytes are no chunks any more.
    bool arrive(UaByteView piece) {
        m_all.insert(m_all.end(), piece.data, piece.data + piece.size);
        bool good = true;
        while (good && piece.size > 0) {
            std::size_t room = 0;
            OpcUa_Byte* const target = m_reader.room(room);
            require(room > 0, "there is always room");
            const std::size_t count = std::min(room, piece.size);
            std::memcpy(target, piece.data, count);
            m_reader.arrived(count);
            m_arrived += count;
            piece = piece.from(count);
            good = readAll();
        }
        return good;
    }

private:
    bool readAll() {
        for (;;) {
            Chunk chunk;
            bool found = false;
            const UaStatus status = m_reader.next(chunk, found);
            if (status.isBad()) {
                require(!found && m_reader.next(chunk, found).isBad(), "what is bad stays bad");
                checkRefusal();
                return false;
            }
            if (!found) {
                require(!isWhole(), "a chunk is given out once it is whole");
                require(m_arrived - m_position < messageHeaderLength || sizeAt(m_position) <= largestChunk,
                        "a chunk that never will be whole is not waited for");
                return true;
            }
            check(chunk);
            m_position += chunk.size;
        }
    }

    void check(const Chunk& chunk) const {
        require(isWhole() && chunk.size == sizeAt(m_position), "a chunk is as long as it says");
        require(std::memcmp(chunk.data, m_all.data() + m_position, chunk.size) == 0,
                "a chunk is what arrived");
        const char letter = "CFA"[static_cast<int>(chunk.position)];
        require(kindAt(m_position) == nameOf(chunk.kind) + letter, "a chunk is of the kind that it says");
        require(letter == 'F' || chunk.kind == ChunkKind::Message, "only messages come in pieces");
        require(chunk.size >= (chunk.kind == ChunkKind::Message ? 24U : 12U), "a chunk has its headers");
    }
    /// A server's chunk of any size from the smallest to the largest is not refused.
    void checkRefusal() const {
        const std::string kind = kindAt(m_position);
        const std::size_t size = sizeAt(m_position);
        const bool isMessage = kind == "MSGC" || kind == "MSGF" || kind == "MSGA";
        require(!isMessage || size < 24 || size > largestChunk, "a message is not refused");
        require((kind != "ACKF" && kind != "OPNF" && kind != "ERRF") || size < 28 || size > largestChunk,
                "a chunk is not refused");
    }
    bool isWhole() const {
        return m_arrived - m_position >= messageHeaderLength && m_arrived - m_position >= sizeAt(m_position);
    }
    std::size_t sizeAt(std::size_t position) const { return readUInt32(m_all.data() + position + 4); }
    std::string kindAt(std::size_t position) const {
        return {m_all.begin() + static_cast<std::ptrdiff_t>(position),
                m_all.begin() + static_cast<std::ptrdiff_t>(position) + 4};
    }
    static std::string nameOf(ChunkKind kind) {
        switch (kind) {
        case ChunkKind::Acknowledge:
            return "ACK";
        case ChunkKind::Error:
            return "ERR";
        case ChunkKind::OpenChannel:
            return "OPN";
        default:
            return "MSG";
        }
    }

    ChunkReader m_reader;
    std::vector<OpcUa_Byte> m_all;
    std::size_t m_arrived = 0;
    std::size_t m_position = 0;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t most = 4 * largestChunk;
    Input input(data, size);
    Reading reading;
    for (std::size_t arrived = 0; !input.isEmpty() && arrived < most;) {
        const std::size_t length = input.number<std::uint8_t>();
        const unsigned int more = input.number<std::uint8_t>();
        const UaByteView piece = input.bytes(length);
        for (unsigned int i = 0; i <= more; ++i)
            if (!reading.arrive(piece))
                return 0;
        arrived += piece.size * (more + 1);
    }
    return 0;
}
