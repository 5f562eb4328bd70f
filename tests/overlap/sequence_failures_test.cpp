// What a session learns from requests that fail because of others, and what other threads have of it.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "integration/client_fixture.h"
#include "overlap/sequence_fixture.h"
#include "support/temporary_directory.h"
#include "support/text_file.h"
#include "uabase/trace.h"

using namespace scripted;
using namespace UaClientSdk;

namespace {

/// What a server does that serves one request at a time; those that come meanwhile are `others`.
HeldRequests::Answer answerTheFirst(std::function<void(const Call&)> others) {
    return [others = std::move(others)](HeldRequests::Calls& calls) {
        OverlapTest::answerWell(calls.front());
        std::for_each(calls.begin() + 1, calls.end(), others);
    };
}

/// One is lost until that is known.
TEST_F(Sequence, ToAServerThatDropsWhatComesMeanwhileGoesOneByOneAfterOneFailure) {
    connectSession();
    const HeldRequests held(server, typeOf<UA_ReadRequest>(), answerTheFirst([](const Call&) {}));
    std::vector<OpcUa_StatusCode> statuses = good(12);
    statuses[1] = OpcUa_BadTimeout;
    EXPECT_EQ(read(12, 2000), statuses);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(read(12, 2000), good(12));
    EXPECT_TRUE(session.isConnected());
    EXPECT_TRUE(session.wasLostAhead());
}

TEST_F(Sequence, ToAServerThatRefusesWhatComesMeanwhileGoesOneByOneAfterOneFailure) {
    connectSession();
    const HeldRequests held(server, typeOf<UA_ReadRequest>(), answerTheFirst([](const Call& call) {
                                call.fault(UA_STATUSCODE_BADINTERNALERROR);
                            }));
    std::vector<OpcUa_StatusCode> statuses = good(12);
    statuses[1] = UA_STATUSCODE_BADINTERNALERROR;
    EXPECT_EQ(read(12), statuses);
    EXPECT_EQ(read(12), good(12));
    EXPECT_FALSE(session.wasLostAhead());
}

TEST_F(Sequence, ToAServerThatServesInALineLeavesNoneUnanswered) {
    connectSession();
    server.on<UA_ReadRequest>([](const Call& call) {
        std::this_thread::sleep_for(std::chrono::milliseconds(80)); // what the server needs
        answerWell(call);
    });
    EXPECT_EQ(read(30, 500), good(30));
    EXPECT_FALSE(session.wasLostAhead());
    server.on<UA_ReadRequest>(answerWell);
}

TEST_F(Sequence, OfOneRequestThatIsRefusedTeachesNothing) {
    connectSession();
    refuse({0}, UA_STATUSCODE_BADTCPSERVERTOOBUSY);
    EXPECT_EQ(read(1).front(), UA_STATUSCODE_BADTCPSERVERTOOBUSY);
    EXPECT_GE(mostAhead(12, 2), 2U);
}

TEST_F(Sequence, OfOneRequestThatIsNotAnsweredTeachesNothing) {
    connectSession();
    leaveOut({0});
    EXPECT_EQ(read(1, 300).front(), OpcUa_BadTimeout);
    EXPECT_FALSE(session.wasLostAhead());
    EXPECT_GE(mostAhead(12, 2), 2U);
}

TEST_F(Sequence, ThatIsRefusedForWhatARequestAsksTeachesNothing) {
    connectSession();
    refuse({0, 1}, UA_STATUSCODE_BADUSERACCESSDENIED);
    EXPECT_EQ(read(2).front(), UA_STATUSCODE_BADUSERACCESSDENIED);
    EXPECT_GE(mostAhead(12, 2), 2U);
}

TEST_F(Sequence, HasMoreRequestsOnTheirWayWithEachThatIsNotRefused) {
    connectSession();
    refuse({1}, UA_STATUSCODE_BADTCPSERVERTOOBUSY);
    EXPECT_EQ(read(2).back(), UA_STATUSCODE_BADTCPSERVERTOOBUSY);
    for (const std::size_t most : {1U, 2U})
        EXPECT_EQ(mostAhead(12, most), most);
}

TEST_F(Sequence, TellsOnceOfEachLessThatItSendsAtATime) {
    connectSession();
    EXPECT_EQ(read(60), good(60));
    const test_support::TemporaryDirectory directory;
    const auto file = directory.path() / "client.log";
    ASSERT_EQ(UaTrace::initTrace(UaTrace::Warnings, 1000, 1, UaString(file.c_str()), "test"), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        isProbe(call) ? call.answer() : call.fault(UA_STATUSCODE_BADTCPSERVERTOOBUSY);
    });
    EXPECT_EQ(read(60), std::vector<OpcUa_StatusCode>(60, UA_STATUSCODE_BADTCPSERVERTOOBUSY));
    UaTrace::closeTrace();
    EXPECT_EQ(test_support::linesOf(file).size(), 1U);
    server.on<UA_ReadRequest>(answerWell);
}

TEST_F(Sequence, ThatIsEndedLeavesNoTraceOfTheAnswersItDrops) {
    connectSession();
    const test_support::TemporaryDirectory directory;
    const auto file = directory.path() / "client.log";
    ASSERT_EQ(UaTrace::initTrace(UaTrace::Warnings, 1000, 1, UaString(file.c_str()), "test"), 0);
    {
        const HeldRequests held(server, typeOf<UA_ReadRequest>(), answerAll);
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(read(50, 10000, 1), good(1));
        EXPECT_EQ(readOne(), OpcUa_Good); // behind the answers that are dropped
    }
    UaTrace::closeTrace();
    EXPECT_TRUE(test_support::linesOf(file).empty());
}

TEST_F(Sequence, TellsTheServerHowLongItWaits) {
    connectSession();
    std::mutex mutex;
    std::vector<UA_UInt32> hints;
    server.on<UA_ReadRequest>([&](const Call& call) {
        if (!isProbe(call)) {
            const std::lock_guard<std::mutex> lock(mutex);
            hints.push_back(call.request<UA_ReadRequest>().requestHeader.timeoutHint);
        }
        answerWell(call);
    });
    constexpr int limit = 30000;
    EXPECT_EQ(read(20, limit), good(20));
    server.on<UA_ReadRequest>(answerWell);
    ASSERT_EQ(hints.size(), 20U);
    for (const UA_UInt32 hint : hints) {
        EXPECT_GT(hint, static_cast<UA_UInt32>(limit / 1000)) << "in milliseconds";
        EXPECT_LE(hint, static_cast<UA_UInt32>(limit));
    }
}

/// The break shows when the third one is sent: nothing is read between that and the answer to the first one.
TEST_F(Sequence, TellsOfAConnectionThatIsFoundBrokenBySending) {
    connectSession();
    serve(operations()[1], {1}, [](const Call& call) { call.connection().reset(); });
    const std::vector<OpcUa_StatusCode> statuses = read(3, 10000, -1, [this](int number, int) {
        if (number == 2)
            EXPECT_TRUE(waitUntil([this] { return !server.connection()->isOpen(); }));
    });
    ASSERT_EQ(statuses.size(), 3U);
    EXPECT_EQ(statuses[0], OpcUa_Good);
    EXPECT_NE(statuses[1], OpcUa_Good);
    EXPECT_NE(statuses[2], OpcUa_Good);
    EXPECT_FALSE(session.isConnected());
    EXPECT_TRUE(session.wasLostAhead());
}

TEST_F(Sequence, OfOneRequestThatFindsTheConnectionBrokenIsNoReasonToGoOneByOne) {
    connectSession();
    server.connection()->close();
    EXPECT_NE(read(1).front(), OpcUa_Good);
    EXPECT_FALSE(session.wasLostAhead());
}

TEST_F(Sequence, LeavesOtherThreadsTheirCalls) {
    connectSession();
    std::atomic<bool> over{false};
    std::vector<std::future<int>> others;
    for (int thread = 0; thread < 3; ++thread) {
        others.push_back(std::async(std::launch::async, [&, thread] {
            int calls = 0;
            for (; !over || calls < 10; ++calls)
                EXPECT_EQ(readOne((7 * calls + thread) % 100), OpcUa_Good);
            return calls;
        }));
    }
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(read(100), good(100));
    over = true;
    int calls = 0;
    for (std::future<int>& other : others)
        calls += other.get();
    EXPECT_GE(server.count<UA_ReadRequest>(), 500 + calls); // and what the session asks by itself
}

TEST_F(Sequence, SharesTheConnectionWithAnother) {
    connectSession();
    std::future<std::vector<OpcUa_StatusCode>> other =
        std::async(std::launch::async, [this] { return read(300); });
    EXPECT_EQ(read(300), good(300));
    EXPECT_EQ(other.get(), good(300));
}

/// The requests of a case, to be answered by it.
class Collected {
public:
    explicit Collected(Server& server) : m_server(server) {
        server.on<UA_ReadRequest>([this](const Call& call) {
            if (isProbe(call)) {
                call.answer();
                return;
            }
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_calls.push_back(call);
        });
    }
    ~Collected() { m_server.on<UA_ReadRequest>(OverlapTest::answerWell); }
    Collected(const Collected&) = delete;
    Collected& operator=(const Collected&) = delete;

    bool waitFor(std::size_t count) {
        return waitUntil([this, count] {
            const std::lock_guard<std::mutex> lock(m_mutex);
            return m_calls.size() >= count;
        });
    }
    void answer(std::size_t number) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        OverlapTest::answerWell(m_calls.at(number));
    }

private:
    Server& m_server;
    std::mutex m_mutex;
    HeldRequests::Calls m_calls;
};

/// What a thread sends that waits for room; the system does not hold so much.
UaStatus writeAtLength(UaSession& session) {
    UaWriteValues nodes;
    nodes.create(1);
    UaNodeId(static_cast<OpcUa_UInt32>(1000)).copyTo(&nodes[0].nodeId);
    nodes[0].attributeId = OpcUa_Attributes_Value;
    UaVariant value;
    value.setString(UaString(std::string(14U << 20U, 'x')));
    value.copyTo(&nodes[0].value.value);
    nodes[0].value.hasValue = true;
    UaStatusCodeArray results;
    UaDiagnosticInfos diagnostics;
    ServiceSettings settings;
    return session.write(settings, nodes, results, diagnostics);
}

TEST_F(Sequence, ThatWaitsToSendLetsOthersRead) {
    connectSession();
    Collected collected(server);
    std::atomic<bool> wantsToSend{false};
    auto series = std::async(std::launch::async, [&] {
        return read(3, 10000, -1, [&](int number, int) { wantsToSend = number == 2; });
    });
    ASSERT_TRUE(collected.waitFor(2));
    auto other = std::async(std::launch::async, [this] { return readOne(5); });
    ASSERT_TRUE(collected.waitFor(3));
    server.readAtMost(0);
    auto writing = std::async(std::launch::async, [this] { return writeAtLength(session); });
    ASSERT_TRUE(waitUntil([this] { return server.connection()->unread() > 100000; }));

    collected.answer(0);
    collected.answer(1);
    EXPECT_TRUE(waitUntil([&] { return wantsToSend.load(); }));
    collected.answer(2);
    EXPECT_EQ(other.get(), OpcUa_Good);

    server.readFreely();
    EXPECT_TRUE(writing.get().isGood());
    EXPECT_TRUE(collected.waitFor(4));
    collected.answer(3);
    EXPECT_EQ(series.get(), good(3));
}

/// It sends again when all its answers are there, not before.
TEST_F(Sequence, TakesItsAnswersWhileAnotherThreadSends) {
    connectSession();
    Collected collected(server);
    std::atomic<int> answeredBefore{-1};
    auto series = std::async(std::launch::async, [&] {
        return read(4, 10000, -1, [&](int number, int answered) {
            if (number == 2)
                answeredBefore = answered;
        });
    });
    ASSERT_TRUE(collected.waitFor(2));
    server.readAtMost(0);
    auto writing = std::async(std::launch::async, [this] { return writeAtLength(session); });
    ASSERT_TRUE(waitUntil([this] { return server.connection()->unread() > 100000; }));
    collected.answer(0);
    collected.answer(1);
    EXPECT_TRUE(waitUntil([&] { return answeredBefore >= 0; }));
    EXPECT_EQ(answeredBefore, 2);

    server.readFreely();
    EXPECT_TRUE(writing.get().isGood());
    EXPECT_TRUE(collected.waitFor(4));
    collected.answer(2);
    collected.answer(3);
    EXPECT_EQ(series.get(), good(4));
}

} // namespace
