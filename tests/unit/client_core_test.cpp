#include <climits>
#include <stdexcept>
#include <string>
#include <vector>

#include "client_test.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

std::vector<std::string> argumentsOf(const std::string& operation) {
    std::vector<std::string> result;
    for (const standin::Call& call : script().calls())
        if (call.operation == operation)
            result.push_back(std::get<std::string>(call.arguments));
    return result;
}

const standin::Call& callOf(const std::vector<standin::Call>& calls, const std::string& operation) {
    for (const standin::Call& call : calls)
        if (call.operation == operation)
            return call;
    throw std::out_of_range("no call of " + operation);
}

} // namespace

using Construction = StandInTest;

TEST_F(Construction, StartsThePlatformBeforeAnythingElseAndMakesThreeMutexes) {
    const COpcUaClientInterface client;
    EXPECT_THAT(script().operations(), ElementsAre("UaPlatformLayer::init", "pthread_mutex_init",
                                                   "pthread_mutex_init", "pthread_mutex_init"));
    EXPECT_THAT(argumentsOf("pthread_mutex_init"), ElementsAre("0", "1", "2"))
        << "a mutex was given attributes";
}

TEST_F(Construction, MakesNoSessionAndNoNode) {
    COpcUaClientInterface client;
    EXPECT_EQ(record_census::live(), 0);
    EXPECT_EQ(client.OpcUaDisConnect(), 3);
}

using Destruction = ClientTest;

TEST_F(Destruction, OfAnUnusedClientClosesTraceThenPlatform) {
    m_client.reset();
    EXPECT_THAT(script().operations(),
                ElementsAre("pthread_mutex_destroy", "pthread_mutex_destroy", "pthread_mutex_destroy",
                            "UaTrace::closeTrace", "UaPlatformLayer::cleanup"));
    EXPECT_EQ(argumentsOf("pthread_mutex_destroy").back(), "2") << "the client mutex goes after the sink's";
}

TEST_F(Destruction, DisconnectsThenFreesBothTreesThenTheRest) {
    connect();
    script().onBrowse = answerReferences({{"ns=2;s=A", "A"}, {"ns=2;s=B", "B"}});
    ASSERT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    ASSERT_NE(m_client->OpcUaGetUaNode("ns=2;s=C", OpcUaDataType_Int32), nullptr);
    ASSERT_NE(m_client->OpcUaGetUaNode("ns=2;s=D", OpcUaDataType_Int32), nullptr);
    script().forgetCalls();

    m_client.reset();

    EXPECT_THAT(script().operations(),
                ElementsAre("UaSession::isConnected", "UaSession::disconnect", "UaSession::~UaSession",
                            "pthread_mutex_destroy", "pthread_mutex_destroy", "pthread_mutex_destroy",
                            "UaTrace::closeTrace", "UaPlatformLayer::cleanup"));
    const std::vector<standin::Call> calls = script().calls();
    EXPECT_EQ(callOf(calls, "UaSession::disconnect").surroundings.liveRecords, 5);
    EXPECT_EQ(callOf(calls, "pthread_mutex_destroy").surroundings.liveRecords, 0);
}

TEST_F(Destruction, OfALostConnectionSendsNothingAndReleasesTheSession) {
    connect();
    script().onIsConnected = [] { return false; };
    m_client.reset();
    EXPECT_THAT(script().operations(), Not(Contains("UaSession::disconnect")));
    EXPECT_THAT(script().operations(), Contains("UaSession::~UaSession").Times(1));
}

TEST_F(Destruction, ReleasesASessionWhoseDisconnectFails) {
    connect();
    script().onDisconnect = [](const standin::DisconnectRequest&) { return UaStatus(badStatus); };
    m_client.reset();
    EXPECT_THAT(script().operations(), Contains("UaSession::disconnect").Times(1));
    EXPECT_THAT(script().operations(), Contains("UaSession::~UaSession").Times(1));
}

TEST_F(Destruction, FreesEveryRecordExactlyOnce) {
    connect();
    script().onBrowse = answerReferences({{"ns=2;s=A", "A"}, {"ns=2;s=B", "B"}});
    ASSERT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    ASSERT_EQ(m_client->OpcUaBrowse(m_client->OpcUaReadRootNode()->child), 0);
    ASSERT_NE(m_client->OpcUaGetUaNode("ns=2;s=C", OpcUaDataType_Int32), nullptr);
    const record_census::Quarantine quarantine;
    m_client.reset();
    EXPECT_EQ(quarantine.freedOnce(), 6);
    EXPECT_EQ(quarantine.freedAgain(), 0);
}

TEST_F(Destruction, FreesTheBrowseTreeBeforeTheLookedUpNodes) {
    connect();
    ASSERT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    const OpcUaNode* root = m_client->OpcUaReadRootNode();
    const OpcUaNode* node = m_client->OpcUaGetUaNode("ns=2;s=C", OpcUaDataType_Int32);
    const record_census::Quarantine quarantine;
    m_client.reset();
    EXPECT_EQ(quarantine.placeOf(root), 1);
    EXPECT_EQ(quarantine.placeOf(node), 2);
}

using CallbackInstallation = ClientTest;

TEST_F(CallbackInstallation, RefusesNull) {
    EXPECT_EQ(m_client->installOpcUaCallBack(nullptr), 29);
    EXPECT_EQ(message(), messages::invalidArgument);
}

TEST_F(CallbackInstallation, SuccessKeepsAnEarlierMessage) {
    Application first;
    Application second;
    storeEarlierMessage();
    EXPECT_EQ(m_client->installOpcUaCallBack(&first), 0);
    EXPECT_EQ(m_client->installOpcUaCallBack(&second), 0);
    EXPECT_EQ(message(), earlierMessage);
}

TEST_F(CallbackInstallation, SuccessLeavesNoMessage) {
    Application application;
    EXPECT_EQ(m_client->installOpcUaCallBack(&application), 0);
    EXPECT_EQ(message(), "");
}

TEST_F(CallbackInstallation, TakesNoLock) {
    Application application;
    m_client->installOpcUaCallBack(&application);
    m_client->installOpcUaCallBack(nullptr);
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
}

namespace {

/// The client has just failed with "服务器未连接", 18 bytes.
class ErrorMessage : public ClientTest {
protected:
    ErrorMessage() { EXPECT_EQ(m_client->OpcUaDisConnect(), 3); }

    static constexpr int length = sizeof(messages::notConnected) - 1;
    GuardedBuffer m_buffer{64};
};

using ErrorMessageOfANewClient = ClientTest;

} // namespace

TEST_F(ErrorMessageOfANewClient, IsJustTheTerminator) {
    GuardedBuffer buffer(64);
    m_client->GetErrorMsg(buffer.text(), 64);
    EXPECT_EQ(buffer.bytes(1), std::string(1, '\0'));
    EXPECT_TRUE(buffer.untouchedFrom(1));
}

TEST_F(ErrorMessageOfANewClient, FitsIntoOneByte) {
    GuardedBuffer buffer(64);
    m_client->GetErrorMsg(buffer.text(), 1);
    EXPECT_EQ(buffer.bytes(1), std::string(1, '\0'));
    EXPECT_TRUE(buffer.untouchedFrom(1));
}

TEST_F(ErrorMessage, IsCopiedWithItsTerminatorAndNoFurther) {
    EXPECT_EQ(m_client->GetErrorMsg(m_buffer.text(), 64), m_buffer.text());
    EXPECT_EQ(m_buffer.bytes(length + 1), std::string(messages::notConnected, length + 1));
    EXPECT_TRUE(m_buffer.untouchedFrom(length + 1)) << "the rest of the buffer is not padded";
}

TEST_F(ErrorMessage, FitsExactly) {
    m_client->GetErrorMsg(m_buffer.text(), length + 1);
    EXPECT_EQ(m_buffer.bytes(length + 1), std::string(messages::notConnected, length + 1));
    EXPECT_TRUE(m_buffer.untouchedFrom(length + 1));
}

TEST_F(ErrorMessage, IsCutWithoutTerminator) {
    m_client->GetErrorMsg(m_buffer.text(), length);
    EXPECT_EQ(m_buffer.bytes(length), messages::notConnected);
    EXPECT_TRUE(m_buffer.untouchedFrom(length));
}

TEST_F(ErrorMessage, SizeOneGivesTheFirstByteOnly) {
    m_client->GetErrorMsg(m_buffer.text(), 1);
    EXPECT_EQ(m_buffer.bytes(1), std::string(messages::notConnected, 1));
    EXPECT_TRUE(m_buffer.untouchedFrom(1));
}

TEST_F(ErrorMessage, SizeZeroWritesNothing) {
    EXPECT_EQ(m_client->GetErrorMsg(m_buffer.text(), 0), m_buffer.text());
    EXPECT_TRUE(m_buffer.untouched());
}

TEST_F(ErrorMessage, NegativeSizeWritesNothing) {
    for (const int size : {-1, -64, INT_MIN}) {
        EXPECT_EQ(m_client->GetErrorMsg(m_buffer.text(), size), m_buffer.text());
        EXPECT_TRUE(m_buffer.untouched()) << size;
    }
}

TEST_F(ErrorMessage, WithoutBufferIsNotCopied) {
    EXPECT_EQ(m_client->GetErrorMsg(nullptr, 64), nullptr);
    EXPECT_EQ(m_client->GetErrorMsg(nullptr, 0), nullptr);
    EXPECT_EQ(message(), messages::notConnected);
}

TEST_F(ErrorMessage, ReadingDoesNotClearIt) {
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_EQ(message(), messages::notConnected);
}

TEST_F(ErrorMessage, IsReplacedByTheNextFailure) {
    ASSERT_EQ(m_client->installOpcUaCallBack(nullptr), 29);
    EXPECT_EQ(message(), messages::invalidArgument);
    ASSERT_EQ(m_client->OpcUaDisConnect(), 3);
    EXPECT_EQ(message(), messages::notConnected) << "a shorter text replaces a longer one whole";
}

TEST_F(ErrorMessage, OutlivesSuccess) {
    connect();
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
    EXPECT_EQ(message(), messages::notConnected);
}

TEST_F(ErrorMessage, IsReadWithoutALock) {
    mutex_watch::forgetLocks();
    message();
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
}

TEST_F(ErrorMessage, IsEachClientsOwn) {
    COpcUaClientInterface other;
    char text[64];
    other.GetErrorMsg(text, sizeof(text));
    EXPECT_STREQ(text, "");
}
