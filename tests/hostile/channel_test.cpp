// The transport's limits and the channel's tokens, without security.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "hostile/hostile_fixture.h"

using namespace scripted;

namespace {

/// The sequence number of a server's chunk, and that of the next one.
struct NewStart {
    std::string name;
    std::uint32_t last;
    std::uint32_t first;
};

std::ostream& operator<<(std::ostream& stream, const NewStart& start) {
    return stream << start.name;
}

class SequenceNumbers : public HostileTest, public testing::WithParamInterface<NewStart> {
protected:
    SequenceNumbers() {
        server.onNext<UA_OpenSecureChannelRequest>([](const Call& call) {
            call.connection().goOnAfter(GetParam().last - 1);
            call.answer();
        });
        server.onNext<UA_CreateSessionRequest>([](const Call& call) {
            call.connection().goOnAfter(GetParam().first - 1);
            call.answer();
        });
    }
};

class LegalNewStart : public SequenceNumbers {};
TEST_P(LegalNewStart, IsTaken) {
    ASSERT_EQ(connect(), 0);
    expectUnharmed();
}

class IllegalNewStart : public SequenceNumbers {};
TEST_P(IllegalNewStart, EndsTheConnection) {
    EXPECT_EQ(connect(3000), connectFailed);
    EXPECT_TRUE(server.waitForOpenConnections(0));
}

INSTANTIATE_TEST_SUITE_P(Each, LegalNewStart,
                         testing::Values(NewStart{"AtOne", 4294966272, 1}, NewStart{"AtZero", 4294966272, 0},
                                         NewStart{"At1023", 4294966272, 1023},
                                         NewStart{"AtOnce", 4294966271, 1},
                                         NewStart{"AfterTheGreatest", 4294967295, 0},
                                         NewStart{"AtOneAfterTheGreatest", 4294967295, 1},
                                         NewStart{"Not", 4294966271, 4294966272}),
                         [](const auto& one) { return one.param.name; });
INSTANTIATE_TEST_SUITE_P(Each, IllegalNewStart,
                         testing::Values(NewStart{"TooEarly", 4294966270, 1},
                                         NewStart{"At1024", 4294966272, 1024},
                                         NewStart{"At1024AfterTheGreatest", 4294967295, 1024},
                                         NewStart{"InTheMiddle", 7, 1}),
                         [](const auto& one) { return one.param.name; });

/// What ACK allows is obeyed: the server of this suite reports each chunk that doesn't.
class AnnouncedLimits : public HostileTest {
protected:
    void announce(std::uint32_t receiveBufferSize, std::uint32_t maxMessageSize,
                  std::uint32_t maxChunkCount) {
        TransportLimits limits;
        limits.receiveBufferSize = receiveBufferSize;
        limits.maxMessageSize = maxMessageSize;
        limits.maxChunkCount = maxChunkCount;
        server.announce(limits);
    }
    std::size_t writtenLength() {
        const Owned<UA_WriteRequest> last = server.last<UA_WriteRequest>();
        const UA_Variant& value = last->nodesToWrite[0].value.value;
        return static_cast<const UA_String*>(value.data)->length;
    }
};

TEST_F(AnnouncedLimits, OfTheBufferSplitAMessage) {
    announce(8192, 0, 0);
    ASSERT_EQ(connect(), 0);
    EXPECT_EQ(writeText(std::string(1000000, 'x')), 0);
    EXPECT_EQ(writtenLength(), 1000000U);
    expectUnharmed();
}

TEST_F(AnnouncedLimits, OfTheMessageKeepALargerOneBack) {
    announce(65535, 20000, 0);
    ASSERT_EQ(connect(), 0);
    EXPECT_EQ(writeText(std::string(30000, 'x')), writeFailed);
    EXPECT_EQ(server.count<UA_WriteRequest>(), 0);
    EXPECT_EQ(writeText(std::string(10000, 'x')), 0);
    expectUnharmed();
}

TEST_F(AnnouncedLimits, OfTheChunksKeepALongerMessageBack) {
    announce(8192, 0, 2);
    ASSERT_EQ(connect(), 0);
    EXPECT_EQ(writeText(std::string(30000, 'x')), writeFailed);
    EXPECT_EQ(server.count<UA_WriteRequest>(), 0);
    EXPECT_EQ(writeText(std::string(10000, 'x')), 0);
    expectUnharmed();
}

TEST_F(AnnouncedLimits, MayAllowOneSmallChunkAlone) {
    announce(8192, 8192, 1);
    ASSERT_EQ(connect(), 0);
    EXPECT_EQ(writeText(std::string(9000, 'x')), writeFailed);
    EXPECT_EQ(writeText(std::string(7000, 'x')), 0);
    expectUnharmed();
}

TEST_F(AnnouncedLimits, MayBeTheLargest) {
    announce(0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF);
    if (connect() == 0) {
        EXPECT_EQ(writeText(std::string(1000000, 'x')), 0);
        EXPECT_EQ(writtenLength(), 1000000U);
    }
}

/// Too small for anything.
class ImpossibleBuffer : public AnnouncedLimits, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(ImpossibleBuffer, EndsTheConnect) {
    announce(GetParam(), 0, 0);
    EXPECT_EQ(connect(3000), connectFailed);
}

TEST_P(ImpossibleBuffer, OfTheServersOwnIsNotOurConcern) {
    TransportLimits limits;
    limits.sendBufferSize = GetParam();
    server.announce(limits);
    if (connect(3000) == 0)
        expectUnharmed();
}

INSTANTIATE_TEST_SUITE_P(Size, ImpossibleBuffer, testing::Values(0, 1, 7, 8, 24, 31, 100));

TEST_F(AnnouncedLimits, OfOneByteAMessageEndTheConnect) {
    announce(65535, 1, 0);
    EXPECT_EQ(connect(3000), connectFailed);
}

/// An ACK that isn't one.
class DamagedAcknowledge : public HostileTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(DamagedAcknowledge, EndsTheConnect) {
    server.onHello([](Connection& connection) {
        const Bytes whole = acknowledgeMessage(TransportLimits());
        connection.send("ACKF" + u32(static_cast<std::uint32_t>(GetParam())) +
                        whole.substr(8, GetParam() - 8));
    });
    EXPECT_EQ(connect(3000), connectFailed);
}

INSTANTIATE_TEST_SUITE_P(Size, DamagedAcknowledge, testing::Range<std::size_t>(8, 28));

TEST_F(AnnouncedLimits, MayComeTwice) {
    server.onHello([](Connection& connection) {
        connection.send(acknowledgeMessage(TransportLimits()));
        connection.send(acknowledgeMessage(TransportLimits()));
    });
    EXPECT_EQ(connect(3000), connectFailed);
}

/// Lifetimes of the channel's tokens, in milliseconds, as the server revises them.
class RevisedTokens : public HostileTest {
protected:
    void revise(std::uint32_t lifetime) {
        server.edit<UA_OpenSecureChannelResponse>([lifetime](UA_OpenSecureChannelResponse& response) {
            response.securityToken.revisedLifetime = lifetime;
        });
    }
    /// Tokens that were issued after the first one.
    int renewals() { return server.count<UA_OpenSecureChannelRequest>() - 1; }
    bool waitForRenewals(int count) { return server.waitForCount<UA_OpenSecureChannelRequest>(count + 1); }
};

class TokenLifetime : public RevisedTokens, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(TokenLifetime, IsKeptInQuiet) {
    revise(GetParam());
    ASSERT_EQ(connect(), 0);
    ASSERT_TRUE(waitForRenewals(3));
    expectUnharmed();
    EXPECT_LT(renewals(), 50);
}

TEST_P(TokenLifetime, IsKeptWhenBusy) {
    revise(GetParam());
    ASSERT_EQ(connect(), 0);
    while (renewals() < 3)
        ASSERT_EQ(read(), 0);
    expectUnharmed();
}

TEST_P(TokenLifetime, IsKeptWithASubscription) {
    revise(GetParam());
    monitor();
    ASSERT_TRUE(waitForRenewals(3));
    server.publisher().publish(43);
    EXPECT_TRUE(waitForValue(43));
    expectUnharmed();
}

INSTANTIATE_TEST_SUITE_P(Milliseconds, TokenLifetime, testing::Values(2000, 1000));

TEST_F(RevisedTokens, OfNoLifetimeAreNotRenewedWithoutEnd) {
    revise(0);
    if (connect(3000) == 0)
        std::this_thread::sleep_for(std::chrono::seconds(2));
    EXPECT_LT(server.count<UA_OpenSecureChannelRequest>(), 50);
}

TEST_F(RevisedTokens, OfOneMillisecondAreNotRenewedWithoutEnd) {
    revise(1);
    if (connect(3000) == 0)
        std::this_thread::sleep_for(std::chrono::seconds(2));
    EXPECT_LT(server.count<UA_OpenSecureChannelRequest>(), 100);
}

TEST_F(RevisedTokens, OfTheLongestLifetimeAreNotRenewed) {
    revise(0xFFFFFFFF);
    ASSERT_EQ(connect(), 0);
    std::this_thread::sleep_for(std::chrono::seconds(2));
    EXPECT_EQ(renewals(), 0);
    expectUnharmed();
}

TEST_F(RevisedTokens, MayServeWhatWasAskedUnderTheOldOne) {
    revise(2000);
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t old = server.connection()->tokenId();
    const std::optional<Call> waiting = server.publisher().takeRequest();
    ASSERT_TRUE(waiting);
    ASSERT_TRUE(waitForRenewals(1));
    const std::uint32_t handle = server.publisher().items().at(0).clientHandle;
    Chunk chunk = waiting->chunk(
        'F', waiting->bodyOf(*Publisher::dataChange(server.publisher().subscriptionId(), 2, {{handle, 77}})));
    chunk.tokenId = old;
    waiting->connection().send(chunk);
    EXPECT_TRUE(waitForValue(77));
    expectUnharmed();
}

TEST_F(RevisedTokens, MayBeNamedForWhatWasAskedUnderThemHoweverLongAgo) {
    revise(1000);
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::optional<Call> waiting = server.publisher().takeRequest();
    ASSERT_TRUE(waiting);
    ASSERT_TRUE(waitForRenewals(4));
    const std::uint32_t handle = server.publisher().items().at(0).clientHandle;
    Chunk chunk = waiting->chunk(
        'F', waiting->bodyOf(*Publisher::dataChange(server.publisher().subscriptionId(), 2, {{handle, 77}})));
    chunk.tokenId = waiting->tokenId();
    waiting->connection().send(chunk);
    EXPECT_TRUE(waitForValue(77));
    expectUnharmed();
}

TEST_F(RevisedTokens, AreNotTakenAnyMoreWhenTwoRenewalsLater) {
    revise(1000);
    ASSERT_EQ(connect(), 0);
    const std::uint32_t old = server.connection()->tokenId();
    ASSERT_TRUE(waitForRenewals(3));
    server.on<UA_ReadRequest>([old](const Call& call) {
        Chunk chunk = call.chunk('F', call.usualBody());
        chunk.tokenId = old;
        call.connection().send(chunk);
    });
    EXPECT_NE(read(), 0);
    expectLost();
}

TEST_F(RevisedTokens, ThatAreNeverRenewedEndTheConnection) {
    revise(2000);
    ASSERT_EQ(connect(), 0);
    server.on<UA_OpenSecureChannelRequest>([](const Call&) {});
    expectLost();
    EXPECT_LT(server.count<UA_OpenSecureChannelRequest>(), 20);
}

/// What a renewal is answered with.
struct Renewal {
    std::string name;
    Script script;
};

std::ostream& operator<<(std::ostream& stream, const Renewal& renewal) {
    return stream << renewal.name;
}

const std::vector<Renewal> renewalAnswers{
    {"Fault", [](const Call& call) { call.fault(UA_STATUSCODE_BADSECURITYCHECKSFAILED); }},
    {"GoodFault", [](const Call& call) { call.fault(UA_STATUSCODE_GOOD); }},
    {"OneByte", [](const Call& call) { call.answerBody(hex("07")); }},
    {"Nothing", [](const Call& call) { call.answerBody({}); }},
    {"Truncated", [](const Call& call) { call.answerBody(call.usualBody().substr(0, 40)); }},
    {"HangingUp", [](const Call& call) { call.connection().close(); }},
    {"AnotherChannel",
     [](const Call& call) {
         Owned<UA_OpenSecureChannelResponse> response;
         response->securityToken.channelId = call.connection().channelId() + 1;
         response->securityToken.tokenId = call.connection().tokenId() + 1;
         response->securityToken.revisedLifetime = 2000;
         call.answerBody(call.bodyOf(*response));
     }},
    {"AsAMessage", [](const Call& call) { call.connection().sendMessage(call.id(), call.usualBody()); }},
};

class DamagedRenewal : public RevisedTokens, public testing::WithParamInterface<Renewal> {};

TEST_P(DamagedRenewal, EndsTheConnection) {
    revise(2000);
    monitor();
    ASSERT_TRUE(waitForValue(42));
    server.on<UA_OpenSecureChannelRequest>(GetParam().script);
    EXPECT_TRUE(waitForStatus(lost));
    EXPECT_LT(server.count<UA_OpenSecureChannelRequest>(), 20);
}

INSTANTIATE_TEST_SUITE_P(Each, DamagedRenewal, testing::ValuesIn(renewalAnswers),
                         [](const auto& one) { return one.param.name; });

} // namespace
