// A server that reads slowly, not at all, or only after it has spoken: what is sent has a deadline, too.
#include <chrono>
#include <cstdint>
#include <future>
#include <set>
#include <string>
#include <thread>

#include "hostile/hostile_fixture.h"

using namespace scripted;

namespace {

/// Each call ends after its 10 s; hanging is found by the time cap.
class SlowServer : public HostileTest {
protected:
    SlowServer() { cap.set(std::chrono::seconds(40)); }

    std::thread readFreelyAfter(std::chrono::seconds time) {
        return std::thread([this, time] {
            std::this_thread::sleep_for(time);
            server.readFreely();
        });
    }

    const std::string longText = std::string(14 << 20, 'x');
};

TEST_F(SlowServer, ThatReadsNothingEndsAWriteAndTheConnection) {
    ASSERT_EQ(connect(), 0);
    server.readAtMost(0);
    EXPECT_NE(writeText(longText), 0);
    EXPECT_TRUE(waitForStatus(lost));
    EXPECT_EQ(read(), notConnected);
    server.readFreely();
}

TEST_F(SlowServer, ThatReadsLittleEndsAWriteAndTheConnection) {
    ASSERT_EQ(connect(), 0);
    server.readAtMost(20000);
    EXPECT_NE(writeText(longText), 0);
    EXPECT_TRUE(waitForStatus(lost));
    EXPECT_EQ(read(), notConnected);
    server.readFreely();
}

TEST_F(SlowServer, ThatReadsNothingEndsAWriteWithASubscription) {
    monitor();
    server.readAtMost(0);
    EXPECT_NE(writeText(longText), 0);
    EXPECT_TRUE(waitForStatus(lost));
    server.readFreely();
}

TEST_F(SlowServer, ThatReadsNothingForAWhileGetsTheWholeWrite) {
    ASSERT_EQ(connect(), 0);
    server.readAtMost(0);
    std::thread later = readFreelyAfter(std::chrono::seconds(2));
    EXPECT_EQ(writeText(longText), 0);
    later.join();
    expectUnharmed();
}

TEST_F(SlowServer, ThatTakesALongWriteInIsNotTakenForASilentOne) {
    ASSERT_EQ(connect(), 0);
    server.readAtMost(1 << 20);
    std::thread later = readFreelyAfter(std::chrono::seconds(7));
    std::future<int> written = std::async(std::launch::async, [this] { return writeText(longText); });
    std::set<int> statuses;
    while (written.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready)
        statuses.insert(status());
    EXPECT_THAT(statuses, testing::ElementsAre(connected));
    EXPECT_EQ(written.get(), 0);
    later.join();
    expectUnharmed();
}

// The system would go on delivering after the end of the connection.
TEST_F(SlowServer, DoesNotGetAFailedWriteBehindTheNextConnectionsOwn) {
    ASSERT_EQ(connect(), 0);
    server.readAtMost(0);
    EXPECT_EQ(writeText(std::string(1 << 20, 'x')), writeFailed) << "all of it is on its way";
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
    server.readFreely();
    EXPECT_TRUE(server.waitForOpenConnections(0));
    EXPECT_EQ(server.count<UA_WriteRequest>(), 0);
    ASSERT_EQ(connect(), 0);
    EXPECT_EQ(writeText("y"), 0);
    EXPECT_EQ(server.count<UA_WriteRequest>(), 1);
}

/// A long write holds up what else is to be sent, and that is not the server's fault.
class SlowServerWithTokens : public SlowServer {
protected:
    void revise(std::uint32_t lifetime) {
        server.edit<UA_OpenSecureChannelResponse>([lifetime](UA_OpenSecureChannelResponse& response) {
            response.securityToken.revisedLifetime = lifetime;
        });
    }
    void expectRenewed() {
        const int before = server.count<UA_OpenSecureChannelRequest>();
        EXPECT_TRUE(server.waitForCount<UA_OpenSecureChannelRequest>(before + 2));
        expectUnharmed();
    }
};

TEST_F(SlowServerWithTokens, ThatReadsNothingForLongerThanATokenLivesIsAskedForTheNextOne) {
    revise(1000);
    ASSERT_EQ(connect(), 0);
    server.readAtMost(0);
    std::thread later = readFreelyAfter(std::chrono::seconds(3));
    EXPECT_EQ(writeText(longText), 0);
    later.join();
    expectRenewed();
}

TEST_F(SlowServerWithTokens, ThatReadsNothingIsToldAsSilentWhileARenewalIsOverdue) {
    revise(4000);
    ASSERT_EQ(connect(), 0);
    server.readAtMost(0);
    std::future<int> written = std::async(std::launch::async, [this] { return writeText(longText); });
    EXPECT_TRUE(waitForStatus(silent));
    server.readFreely();
    EXPECT_EQ(written.get(), 0);
    EXPECT_TRUE(waitForStatus(connected));
    expectRenewed();
}

TEST_F(SlowServer, ThatSpeaksAtLengthBeforeItReadsIsHeard) {
    ASSERT_EQ(connect(), 0);
    server.readAtMost(0);
    std::thread speaker([this] {
        for (int i = 0; i < 400; ++i) {
            Chunk chunk;
            chunk.requestId = 0x70000000;
            chunk.body.resize(60000);
            server.connection()->send(chunk);
        }
        server.readFreely();
    });
    EXPECT_EQ(writeText(longText), 0);
    speaker.join();
    expectUnharmed();
}

TEST_F(SlowServer, ThatReadsNothingDoesNotHoldADisconnectBack) {
    monitor();
    server.readAtMost(0);
    client.OpcUaDisConnect();
    EXPECT_EQ(status(), 0);
    server.readFreely();
}

TEST_F(SlowServer, DoesNotHoldAnotherConnectBack) {
    ASSERT_EQ(connect(), 0);
    server.readAtMost(0);
    const Server other;
    _OpcUaClientConfig config{};
    setField(config.endpointUrl, other.url());
    EXPECT_EQ(client.OpcUaConnect(config), 0);
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
    server.readFreely();
}

TEST_F(SlowServer, ThatDripsItsAnswerEndsTheCall) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        const Chunk chunk = call.chunk('F', Bytes(2000, '\0'));
        for (const char byte : call.connection().bytesOf(chunk)) {
            if (!call.connection().send(Bytes(1, byte)))
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    });
    EXPECT_NE(read(), 0);
}

TEST_F(SlowServer, ThatNeverAnswersEndsTheCall) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call&) {});
    EXPECT_EQ(read(), readFailed);
}

TEST_F(SlowServer, ThatAnswersTooLateHarmsNothing) {
    ASSERT_EQ(connect(), 0);
    std::promise<Call> taken;
    server.onNext<UA_ReadRequest>([&taken](const Call& call) { taken.set_value(call); });
    EXPECT_EQ(read(), readFailed);
    const Call late = taken.get_future().get();
    late.answer();
    late.answerBody(hex("07"));
    expectUnharmed();
}

} // namespace
