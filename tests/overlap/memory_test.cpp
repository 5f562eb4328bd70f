// What comes before its turn is kept, within a bound.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "hostile/heap_peak.h"
#include "overlap/overlap_fixture.h"

using namespace scripted;

namespace {

constexpr std::size_t megabyte = 1 << 20;
constexpr std::size_t longAnswer = 15 * megabyte;
/// Answers that wait, and what receiving and decoding one more takes.
constexpr std::size_t bound = 32 * megabyte + 5 * 16 * megabyte;

class OverlapMemory : public OverlapTest {
protected:
    static constexpr int count = 80 * nodesPerRequest;

    OverlapMemory() : m_nodes(count), m_values(count), m_records(count) {
        for (std::size_t i = 0; i < m_nodes.size(); ++i) {
            setField(m_nodes[i].nodeId, "ns=1;s=N" + std::to_string(i));
            m_nodes[i].dataType = OpcUaDataType_Int32;
            m_records[i] = {&m_nodes[i], &m_values[i], 0};
        }
    }

    /// Twenty values, the first of them long.
    static Bytes longBody() {
        const Bytes header = encode(typeOf<UA_ReadResponse>().binaryEncodingId) + Bytes(16, '\0') +
                             hex("00") + nullText() + hex("0000 00");
        return header + u32(nodesPerRequest) + hex("01 0F") + lengthAnd(Bytes(longAnswer, 'x')) +
               Bytes(nodesPerRequest - 1, '\0') + nullText();
    }
    /// Piece by piece: what the server copies must not count.
    static void send(const Call& call, Bytes& body) {
        constexpr std::size_t placeOfTheHandle = 12;
        body.replace(placeOfTheHandle, 4, u32(call.handle()));
        const std::size_t piece = call.connection().clientLimits().receiveBufferSize - 100;
        for (std::size_t position = 0; position < body.size(); position += piece) {
            const bool last = position + piece >= body.size();
            call.connection().send(call.chunk(last ? 'F' : 'C', body.substr(position, piece)));
        }
    }
    int readAll() { return client.OpcUaGetMultiValue(m_records.data(), count); }
    int failures() const {
        return static_cast<int>(std::count_if(m_nodes.begin(), m_nodes.end(),
                                              [](const OpcUaNode& node) { return node.result != 0; }));
    }

private:
    std::vector<OpcUaNode> m_nodes;
    std::vector<std::int32_t> m_values;
    std::vector<OpcUa_ReadNode> m_records;
};

TEST_F(OverlapMemory, OfLongAnswersBeforeTheirTurnIsBounded) {
    ASSERT_EQ(connect(), 0);
    Bytes body = longBody();
    bool done = false;
    // What the first answer takes is the measure of the others: on a busy machine, too, none of them is late.
    std::chrono::milliseconds firstAnswer(250);
    const HeldRequests held(server, typeOf<UA_ReadRequest>(), [&](HeldRequests::Calls& calls) {
        std::this_thread::sleep_for(std::exchange(firstAnswer, std::chrono::milliseconds(0)));
        if (!done && calls.size() == 16) {
            done = true;
            const auto first = calls.begin() + 1;
            std::for_each(first, first + 5, [&body](const Call& call) { send(call, body); });
            calls.erase(first, first + 5);
        }
        std::for_each(calls.begin(), calls.end(), answerWell);
    });
    const HeapPeak peak;
    EXPECT_EQ(readAll(), 0);
    EXPECT_LE(peak.growth(), bound);
    EXPECT_TRUE(done);
    EXPECT_EQ(failures(), 3 * nodesPerRequest); // two of five have room
    EXPECT_EQ(status(), connected);
}

TEST_F(OverlapMemory, OfLongAnswersInTurnFailsNone) {
    ASSERT_EQ(connect(), 0);
    Bytes body = longBody();
    int sent = 0;
    server.on<UA_ReadRequest>([&](const Call& call) {
        const bool isLong = !isProbe(call) && ++sent > 20 && sent <= 26;
        isLong ? send(call, body) : answerWell(call);
    });
    const HeapPeak peak;
    EXPECT_EQ(readAll(), 0);
    EXPECT_LE(peak.growth(), bound);
    EXPECT_EQ(failures(), 0);
    server.on<UA_ReadRequest>(answerWell);
}

} // namespace
