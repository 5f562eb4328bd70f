// What a server may send between and instead of chunks: kinds, sizes, types and numbers.
#include <atomic>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "hostile/hostile_fixture.h"

using namespace scripted;

namespace {

/// Bytes that end a connection wherever they come.
struct Stray {
    std::string name;
    Bytes bytes;
    /// Of a chunk whose numbers are all right; `bytes` is its body then.
    std::string kind = {};
};

std::ostream& operator<<(std::ostream& stream, const Stray& stray) {
    return stream << stray.name;
}

Bytes sized(const std::string& kindAndType, std::uint32_t size, const Bytes& rest = {}) {
    return kindAndType + u32(size) + rest;
}

Bytes padded(const std::string& kindAndType, std::uint32_t size) {
    return sized(kindAndType, size, Bytes(size - 8, '\0'));
}

Bytes helloMessage() {
    const Bytes url = "opc.tcp://127.0.0.1:4840";
    return transportMessage("HELF", u32(0) + u32(65535) + u32(65535) + u32(0) + u32(0) + lengthAnd(url));
}

const std::vector<Stray> strays{
    {"Hello", helloMessage()},
    {"EmptyHello", sized("HELF", 8)},
    {"ReverseHello", transportMessage("RHEF", lengthAnd("urn:a") + lengthAnd("opc.tcp://127.0.0.1:1"))},
    {"Error", errorMessage(UA_STATUSCODE_BADTCPINTERNALERROR, "why not")},
    {"GoodError", errorMessage(UA_STATUSCODE_GOOD, "")},
    {"ErrorWithoutReason", transportMessage("ERRF", u32(UA_STATUSCODE_BADTCPSERVERTOOBUSY) + nullText())},
    {"ErrorWithAnEndlessReason",
     transportMessage("ERRF", u32(UA_STATUSCODE_BADTCPINTERNALERROR) + u32(0x7FFFFFFF))},
    {"EmptyError", sized("ERRF", 8)},
    {"EndlessError", sized("ERRF", 0x7FFFFFFF)},
    {"Close", padded("CLOF", 57)},
    {"EmptyClose", sized("CLOF", 8)},
    {"IntermediateClose", padded("CLOC", 57)},
    {"ProperClose", messageBody(UA_CloseSecureChannelRequest{}), "CLO"},
    {"ProperEmptyClose", {}, "CLO"},
    {"ProperUnknownKind", {}, "XYZ"},
    {"UnknownKind", padded("XYZF", 40)},
    {"LowerCaseKind", padded("msgF", 40)},
    {"AnotherProtocol", "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\n\r\n"},
    {"Zeros", Bytes(64, '\0')},
    {"Ones", Bytes(64, '\xFF')},
    {"Size0", sized("MSGF", 0, Bytes(64, '\0'))},
    {"Size7", sized("MSGF", 7, Bytes(64, '\0'))},
    {"Size8", sized("MSGF", 8, Bytes(64, '\0'))},
    {"Size12", sized("MSGF", 12, Bytes(64, '\0'))},
    {"Size23", padded("MSGF", 23)},
    {"Size2To31", sized("MSGF", 0x80000000U, Bytes(64, '\0'))},
    {"Size2To32", sized("MSGF", 0xFFFFFFFFU, Bytes(64, '\0'))},
    {"SizeAboveTheBuffer", sized("MSGF", 0x01000000U, Bytes(64, '\0'))},
    {"UnknownChunkType", padded("MSGX", 40)},
    {"ZeroChunkType", padded(std::string("MSG") + '\0', 40)},
    {"ShortOpen", sized("OPNF", 12, Bytes(64, '\0'))},
    {"OpenWithAnEndlessPolicy", sized("OPNF", 40, u32(1) + u32(0x7FFFFFFF) + Bytes(24, '\0'))},
    {"IntermediateOpen", padded("OPNC", 40)},
};

class StrayMessage : public HostileTest, public testing::WithParamInterface<Stray> {
protected:
    static void sendStray(Connection& connection) {
        const Stray& stray = GetParam();
        if (stray.kind.empty()) {
            connection.send(stray.bytes);
            return;
        }
        Chunk chunk;
        chunk.kind = stray.kind;
        chunk.body = stray.bytes;
        connection.send(chunk);
    }
};

TEST_P(StrayMessage, BeforeAnythingElseEndsTheConnect) {
    server.onAccept(sendStray);
    EXPECT_EQ(connect(3000), connectFailed);
    EXPECT_EQ(status(), 0);
}

TEST_P(StrayMessage, InsteadOfAnAcknowledgeEndsTheConnect) {
    server.onHello(sendStray);
    EXPECT_EQ(connect(3000), connectFailed);
}

TEST_P(StrayMessage, InsteadOfAChannelEndsTheConnect) {
    server.on<UA_OpenSecureChannelRequest>([](const Call& call) { sendStray(call.connection()); });
    EXPECT_EQ(connect(3000), connectFailed);
}

TEST_P(StrayMessage, BeforeASessionEndsTheConnect) {
    server.on<UA_CreateSessionRequest>([](const Call& call) {
        sendStray(call.connection());
        call.answer();
    });
    EXPECT_EQ(connect(3000), connectFailed);
}

TEST_P(StrayMessage, InsteadOfActivationEndsTheConnect) {
    server.on<UA_ActivateSessionRequest>([](const Call& call) { sendStray(call.connection()); });
    EXPECT_EQ(connect(3000), connectFailed);
}

TEST_P(StrayMessage, InQuietEndsTheConnection) {
    ASSERT_EQ(connect(), 0);
    sendStray(*server.connection());
    expectLost();
}

TEST_P(StrayMessage, WithASubscriptionEndsTheConnection) {
    monitor();
    sendStray(*server.connection());
    expectLost();
}

TEST_P(StrayMessage, InsteadOfAnAnswerEndsTheCall) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) { sendStray(call.connection()); });
    EXPECT_NE(read(), 0);
    expectLost();
}

TEST_P(StrayMessage, AfterAnAnswerEndsTheConnection) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        call.answer();
        sendStray(call.connection());
    });
    EXPECT_EQ(read(), 0);
    expectLost();
}

TEST_P(StrayMessage, WhenClosingHindersNobody) {
    monitor();
    server.on<UA_CloseSessionRequest>([](const Call& call) {
        sendStray(call.connection());
        call.answer();
    });
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
}

TEST_P(StrayMessage, EndsAQueryOfServers) {
    server.on<UA_FindServersRequest>([](const Call& call) { sendStray(call.connection()); });
    const auto found = std::make_unique<_OpcUa_ServerConfigMsg>();
    std::string url = server.url();
    EXPECT_EQ(client.OpcUaDiscover(url.data(), *found), 18);
    EXPECT_TRUE(server.waitForOpenConnections(0));
}

INSTANTIATE_TEST_SUITE_P(Each, StrayMessage, testing::ValuesIn(strays),
                         [](const auto& one) { return one.param.name; });

class Chunks : public HostileTest {
protected:
    /// Sends a body in pieces of this many bytes.
    static void sendInPieces(const Call& call, const Bytes& body, std::size_t piece) {
        for (std::size_t position = 0; position < body.size(); position += piece) {
            const bool last = position + piece >= body.size();
            call.connection().send(call.chunk(last ? 'F' : 'C', body.substr(position, piece)));
        }
    }
    /// An answer to a read of a text of this size.
    static Bytes textBody(const Call& call, std::size_t size) {
        Owned<UA_ReadResponse> response;
        resize(response->results, response->resultsSize, 1);
        UA_String text = UA_STRING_NULL;
        assign(text, Bytes(size, 'x'));
        response->results[0].hasValue = true;
        UA_Variant_setScalarCopy(&response->results[0].value, &text, &UA_TYPES[UA_TYPES_STRING]);
        UA_String_clear(&text);
        return call.bodyOf(*response);
    }
    int readText(std::size_t capacity) {
        OpcUaNode node{};
        setField(node.nodeId, "ns=1;s=Text");
        node.dataType = OpcUaDataType_String;
        std::vector<char> text(capacity);
        int size = static_cast<int>(capacity);
        return client.OpcUaGetValue(&node, text.data(), size);
    }
};

TEST_F(Chunks, OfOneByteEachMakeAnAnswer) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) { sendInPieces(call, call.usualBody(), 1); });
    std::int32_t value = 0;
    EXPECT_EQ(read(value), 0);
    EXPECT_EQ(value, 42);
}

TEST_F(Chunks, MayHoldAnAnswerOf15Megabytes) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) { call.answerBody(textBody(call, 15 << 20)); });
    EXPECT_EQ(readText(1 << 20), 0);
}

TEST_F(Chunks, BeyondTheirNumberEndTheConnection) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) { sendInPieces(call, textBody(call, 3000), 10); });
    EXPECT_NE(readText(100), 0);
    expectLost();
}

TEST_F(Chunks, BeyondTheirNumberEndTheConnectionThoughTheLastOneIsAnAnswer) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        for (int i = 0; i < 256; ++i)
            call.connection().send(call.chunk('C', hex("00")));
        call.connection().send(call.chunk('F', call.usualBody()));
    });
    EXPECT_NE(read(), 0);
    expectLost();
}

TEST_F(Chunks, BeyondTheirSumEndTheConnection) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) { call.answerBody(textBody(call, 17 << 20)); });
    EXPECT_NE(readText(100), 0);
    expectLost();
}

TEST_F(Chunks, AboveTheBufferThatWasAnnouncedEndTheConnection) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        const std::size_t buffer = call.connection().clientLimits().receiveBufferSize;
        call.connection().send(call.chunk('F', textBody(call, buffer + 1)));
    });
    EXPECT_NE(readText(100), 0);
    expectLost();
}

TEST_F(Chunks, ThatNeverEndTheirMessageEndTheCall) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>(
        [](const Call& call) { call.connection().send(call.chunk('C', call.usualBody())); });
    EXPECT_EQ(read(), readFailed);
}

TEST_F(Chunks, ThatAreEmptyWithoutEndEndTheConnection) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        while (call.connection().send(call.chunk('C', {}))) {
        }
    });
    EXPECT_NE(read(), 0);
    expectLost();
}

TEST_F(Chunks, OfOneByteWithoutEndEndTheConnection) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        while (call.connection().send(call.chunk('C', hex("00")))) {
        }
    });
    EXPECT_NE(read(), 0);
    expectLost();
}

TEST_F(Chunks, MayEndWithAnEmptyOne) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        const Bytes body = call.usualBody();
        call.connection().send(call.chunk('C', body.substr(0, 10)));
        call.connection().send(call.chunk('C', body.substr(10)));
        call.connection().send(call.chunk('F', {}));
    });
    EXPECT_EQ(read(), 0);
}

TEST_F(Chunks, ThatAreAbortedEndTheirCallAlone) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        call.connection().send(call.chunk('C', call.usualBody().substr(0, 10)));
        call.connection().send(call.chunk('A', u32(UA_STATUSCODE_BADTCPMESSAGETOOLARGE) + lengthAnd("much")));
    });
    EXPECT_EQ(read(), readFailed);
    server.behave();
    expectUnharmed();
}

TEST_F(Chunks, MayBeginWithTheirAbort) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        call.connection().send(call.chunk('A', u32(UA_STATUSCODE_BADOUTOFMEMORY) + nullText()));
    });
    EXPECT_EQ(read(), readFailed);
    server.behave();
    expectUnharmed();
}

TEST_F(Chunks, MayBeAbortedForAGoodReasonOrNone) {
    ASSERT_EQ(connect(), 0);
    for (const Bytes& reason : {u32(UA_STATUSCODE_GOOD) + nullText(), Bytes(), hex("07"),
                                u32(UA_STATUSCODE_BADTIMEOUT) + hex("FFFFFF7F")}) {
        server.on<UA_ReadRequest>(
            [reason](const Call& call) { call.connection().send(call.chunk('A', reason)); });
        EXPECT_EQ(read(), readFailed);
    }
    server.behave();
    expectUnharmed();
}

TEST_F(Chunks, ThatAbortWhatNobodyAskedForAreDropped) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        for (std::uint32_t i = 1; i <= 100; ++i) {
            Chunk stray = call.chunk('A', u32(UA_STATUSCODE_BADINTERNALERROR) + nullText());
            stray.requestId += i;
            call.connection().send(stray);
        }
        call.answer();
    });
    EXPECT_EQ(read(), 0);
    expectUnharmed();
}

TEST_F(Chunks, ThatAbortWithoutEndDoNotHoldACallBack) {
    ASSERT_EQ(connect(), 0);
    const auto over = std::make_shared<std::atomic<bool>>(false);
    server.on<UA_ReadRequest>([over](const Call& call) {
        Chunk stray = call.chunk('A', u32(UA_STATUSCODE_BADINTERNALERROR) + nullText());
        stray.requestId += 1000;
        while (!*over && call.connection().send(stray)) {
        }
    });
    EXPECT_NE(read(), 0);
    *over = true;
}

TEST_F(Chunks, OfUnaskedMessagesWithoutEndDoNotHoldACallBack) {
    ASSERT_EQ(connect(), 0);
    const auto over = std::make_shared<std::atomic<bool>>(false);
    server.on<UA_ReadRequest>([over](const Call& call) {
        const Bytes body = call.usualBody();
        while (!*over && call.connection().sendMessage(call.id() + 1000, body)) {
        }
    });
    EXPECT_NE(read(), 0);
    *over = true;
}

/// Sends small messages that nobody asked for, thousands at a time, so that there is always more to read.
void flood(Connection& connection, const std::atomic<bool>& over) {
    constexpr std::size_t placeOfTheNumber = 16;
    constexpr int atATime = 2500;
    Chunk stray;
    stray.requestId = 0x70000000;
    const Bytes one = connection.bytesOf(stray);
    std::uint32_t number = 0;
    std::memcpy(&number, one.data() + placeOfTheNumber, sizeof number);
    Bytes many;
    for (int i = 0; i < atATime; ++i)
        many += one;
    do {
        for (std::size_t place = placeOfTheNumber; place < many.size(); place += one.size()) {
            std::memcpy(&many[place], &number, sizeof number);
            ++number;
        }
    } while (!over && connection.send(many));
}

TEST_F(Chunks, ThatComeFasterThanTheyAreReadDoNotHoldACallBack) {
    ASSERT_EQ(connect(), 0);
    const auto over = std::make_shared<std::atomic<bool>>(false);
    server.on<UA_ReadRequest>([over](const Call& call) { flood(call.connection(), *over); });
    EXPECT_NE(read(), 0);
    *over = true;
}

TEST_F(Chunks, ThatComeFasterThanTheyAreReadDoNotHoldTheWatchdogBack) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call&) {});
    const int asked = server.count<UA_ReadRequest>();
    std::atomic<bool> over{false};
    std::thread flooding([&] { flood(*server.connection(), over); });
    EXPECT_TRUE(server.waitForCount<UA_ReadRequest>(asked + 1));
    over = true;
    flooding.join();
}

TEST_F(Chunks, OfAnotherMessageInBetweenAreNotMixedUp) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::optional<Call> publish = server.publisher().takeRequest();
    ASSERT_TRUE(publish);
    server.on<UA_ReadRequest>([&publish](const Call& call) {
        const Bytes value = call.usualBody();
        const Bytes keepAlive = publish->usualBody();
        call.connection().send(call.chunk('C', value.substr(0, 20)));
        call.connection().send(publish->chunk('C', keepAlive.substr(0, 20)));
        call.connection().send(call.chunk('F', value.substr(20)));
        call.connection().send(publish->chunk('F', keepAlive.substr(20)));
    });
    std::int32_t value = 0;
    if (read(value) == 0)
        EXPECT_EQ(value, 42);
    else
        expectLost();
}

/// A chunk with one number that is not its own.
struct WrongNumber {
    std::string name;
    std::function<void(const Call&, Chunk&)> change;
};

std::ostream& operator<<(std::ostream& stream, const WrongNumber& number) {
    return stream << number.name;
}

const std::vector<WrongNumber> wrongNumbers{
    {"NextChannel",
     [](const Call& call, Chunk& chunk) { chunk.channelId = call.connection().channelId() + 1; }},
    {"NoChannel", [](const Call&, Chunk& chunk) { chunk.channelId = 0; }},
    {"NextToken", [](const Call& call, Chunk& chunk) { chunk.tokenId = call.connection().tokenId() + 1; }},
    {"NoToken", [](const Call&, Chunk& chunk) { chunk.tokenId = 0; }},
    {"LastToken", [](const Call&, Chunk& chunk) { chunk.tokenId = 0xFFFFFFFF; }},
    {"NoSequenceNumber", [](const Call&, Chunk& chunk) { chunk.sequenceNumber = 0; }},
    {"FirstSequenceNumber", [](const Call&, Chunk& chunk) { chunk.sequenceNumber = 1; }},
    {"SequenceNumberFarAhead", [](const Call&, Chunk& chunk) { chunk.sequenceNumber = 1000000; }},
    {"LastSequenceNumber", [](const Call&, Chunk& chunk) { chunk.sequenceNumber = 0xFFFFFFFF; }},
};

class WrongNumbers : public HostileTest, public testing::WithParamInterface<WrongNumber> {};

TEST_P(WrongNumbers, EndTheConnectionUnread) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        Chunk chunk = call.chunk('F', call.usualBody());
        GetParam().change(call, chunk);
        call.connection().send(chunk);
    });
    EXPECT_NE(read(), 0);
    expectLost();
}

TEST_P(WrongNumbers, InAnUnaskedMessageEndTheConnection) {
    monitor();
    server.on<UA_ReadRequest>([](const Call& call) {
        Chunk chunk = call.chunk('F', call.usualBody());
        chunk.requestId += 1000;
        GetParam().change(call, chunk);
        call.connection().send(chunk);
    });
    EXPECT_NE(read(), 0);
    expectLost();
}

INSTANTIATE_TEST_SUITE_P(Each, WrongNumbers, testing::ValuesIn(wrongNumbers),
                         [](const auto& one) { return one.param.name; });

} // namespace
