#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "channel/chunk_reader.h"

using namespace UaClientSdk;

namespace {

std::string chunkOf(const std::string& kind, std::size_t size, std::size_t announced) {
    std::string chunk = kind + std::string(4, '\0') + std::string(size - messageHeaderLength, 'x');
    const auto number = static_cast<std::uint32_t>(announced);
    std::memcpy(&chunk[4], &number, sizeof number);
    return chunk;
}

std::string chunkOf(const std::string& kind, std::size_t size) {
    return chunkOf(kind, size, size);
}

class ChunkReaderTest : public testing::Test {
protected:
    void arrive(const std::string& bytes) {
        std::size_t room = 0;
        OpcUa_Byte* const target = reader.room(room);
        ASSERT_GE(room, bytes.size());
        std::memcpy(target, bytes.data(), bytes.size());
        reader.arrived(bytes.size());
    }
    OpcUa_StatusCode next() { return reader.next(chunk, found).statusCode(); }

    ChunkReader reader;
    Chunk chunk;
    bool found = false;
};

} // namespace

TEST_F(ChunkReaderTest, HasNothingBeforeAnythingArrives) {
    EXPECT_EQ(next(), OpcUa_Good);
    EXPECT_FALSE(found);
}

TEST_F(ChunkReaderTest, GivesAChunkOutWhenItsLastByteIsThere) {
    const std::string whole = chunkOf("MSGF", 100);
    for (std::size_t i = 0; i + 1 < whole.size(); ++i) {
        arrive(whole.substr(i, 1));
        ASSERT_EQ(next(), OpcUa_Good);
        ASSERT_FALSE(found) << i;
    }
    arrive(whole.substr(whole.size() - 1));
    EXPECT_EQ(next(), OpcUa_Good);
    ASSERT_TRUE(found);
    EXPECT_EQ(chunk.kind, ChunkKind::Message);
    EXPECT_EQ(chunk.position, ChunkPosition::Final);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(chunk.data), chunk.size), whole);
}

TEST_F(ChunkReaderTest, CutsWhatArrivesTogether) {
    arrive(chunkOf("MSGC", 30) + chunkOf("MSGA", 40) + chunkOf("ERRF", 50) +
           chunkOf("OPNF", 60).substr(0, 20));
    EXPECT_EQ(next(), OpcUa_Good);
    EXPECT_TRUE(found && chunk.position == ChunkPosition::Intermediate && chunk.size == 30);
    EXPECT_EQ(next(), OpcUa_Good);
    EXPECT_TRUE(found && chunk.position == ChunkPosition::Abort && chunk.size == 40);
    EXPECT_EQ(next(), OpcUa_Good);
    EXPECT_TRUE(found && chunk.kind == ChunkKind::Error && chunk.size == 50);
    EXPECT_EQ(next(), OpcUa_Good);
    EXPECT_FALSE(found);
    arrive(std::string(40, 'x'));
    EXPECT_EQ(next(), OpcUa_Good);
    EXPECT_TRUE(found && chunk.kind == ChunkKind::OpenChannel && chunk.size == 60);
}

TEST_F(ChunkReaderTest, TakesTheLargestChunkAndAlwaysHasRoom) {
    const std::string whole = chunkOf("MSGF", largestChunk);
    for (int round = 0; round < 3; ++round) {
        std::size_t sent = 0;
        while (sent < whole.size()) {
            std::size_t room = 0;
            reader.room(room);
            ASSERT_GT(room, 0U);
            const std::size_t count = std::min({room, whole.size() - sent, std::size_t{10007}});
            arrive(whole.substr(sent, count));
            sent += count;
            ASSERT_EQ(next(), OpcUa_Good);
            ASSERT_EQ(found, sent == whole.size());
        }
    }
}

TEST_F(ChunkReaderTest, RefusesASizeBeyondTheLimitBeforeItArrives) {
    for (const std::size_t size : {largestChunk + 1, std::size_t{0x80000000U}, std::size_t{UINT32_MAX}}) {
        ChunkReader fresh;
        const std::string header = chunkOf("MSGF", messageHeaderLength, size);
        std::size_t room = 0;
        std::memcpy(fresh.room(room), header.data(), header.size());
        fresh.arrived(header.size());
        EXPECT_EQ(fresh.next(chunk, found).statusCode(), UA_STATUSCODE_BADTCPMESSAGETOOLARGE) << size;
    }
}

/// A server's bytes that are no chunk of a server.
class RefusedChunk : public ChunkReaderTest, public testing::WithParamInterface<std::string> {};

TEST_P(RefusedChunk, EndsTheStream) {
    arrive(GetParam());
    EXPECT_NE(next(), OpcUa_Good);
    EXPECT_FALSE(found);
}

INSTANTIATE_TEST_SUITE_P(Kind, RefusedChunk,
                         testing::Values(chunkOf("HELF", 40), chunkOf("CLOF", 40), chunkOf("RHEF", 40),
                                         chunkOf("msgF", 40), chunkOf("MSGX", 40), chunkOf("MSG\0F", 40),
                                         chunkOf("ACKC", 28), chunkOf("ERRA", 40), chunkOf("OPNC", 140),
                                         "GET / HTTP/1.1\r\n\r\n"));
INSTANTIATE_TEST_SUITE_P(Size, RefusedChunk,
                         testing::Values(chunkOf("MSGF", 40, 0), chunkOf("MSGF", 40, 7),
                                         chunkOf("MSGF", 40, 8), chunkOf("MSGF", 40, 23),
                                         chunkOf("ACKF", 40, 27), chunkOf("ERRF", 40, 15),
                                         chunkOf("OPNF", 40, 11)));
