#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <open62541/client_highlevel_async.h>

#include "plant_fixture.h"

using namespace std::chrono_literals;
using test_support::RawClient;
using test_support::ReadValue;
using test_support::waitUntil;
using testing::ElementsAre;

class PlantControl : public PlantTest {
protected:
    void SetUp() override { start(); }

    template <class T>
    UA_StatusCode set(const std::string& name, T value) {
        return client->write(rack("Control." + name), value);
    }
    UA_StatusCode setText(const std::string& name, const std::string& text) {
        return client->writeText(rack("Control." + name), text);
    }
};

TEST_F(PlantControl, ShapeAndTypeOfAValueChange) {
    const std::string node = rack("Changing.Value");
    ASSERT_EQ(setText("Shape", "Double[5]"), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->read(node).elements(), 5U);
    EXPECT_EQ(client->read(node).get<UA_Double>(4), 4.5);
    ASSERT_EQ(setText("Shape", "String[2,3]"), UA_STATUSCODE_GOOD);
    EXPECT_THAT(client->read(node).dimensions(), ElementsAre(2, 3));
    EXPECT_EQ(client->read(node).text(5), "Element 5");
    ASSERT_EQ(setText("Shape", "Boolean"), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->value<UA_Boolean>(node), true);
    ASSERT_EQ(setText("Shape", "Null"), UA_STATUSCODE_GOOD);
    EXPECT_TRUE(UA_Variant_isEmpty(&client->read(node).variant()));
}

TEST_F(PlantControl, ShapesThatMakeNoSenseAreRefused) {
    for (const char* shape : {"", "Quaternion", "Int32[", "Int32[]", "Int32[3", "Int32[3,]", "Int32[3]x",
                              "Int32[-1]", "Int32[99999999999]", "Null[2]", "int32"})
        EXPECT_EQ(setText("Shape", shape), UA_STATUSCODE_BADINVALIDARGUMENT) << shape;
    EXPECT_EQ(client->value<UA_Int32>(rack("Changing.Value")), -123456789);
    EXPECT_EQ(client->read(rack("Control.Shape")).text(), "Int32");
    EXPECT_EQ(set("Shape", UA_Int32{1}), UA_STATUSCODE_BADTYPEMISMATCH);
}

TEST_F(PlantControl, AnArrayShrinksAndGrows) {
    ASSERT_EQ(set("ArrayLength", UA_UInt32{2}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->read(rack("Changing.Array")).elements(), 2U);
    ASSERT_EQ(set("ArrayLength", UA_UInt32{0}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->read(rack("Changing.Array")).elements(), 0U);
    ASSERT_EQ(set("ArrayLength", UA_UInt32{50}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->read(rack("Changing.Array")).get<UA_Int32>(49), 49);
    EXPECT_EQ(set("ArrayLength", UA_UInt32{4000000000}), UA_STATUSCODE_BADOUTOFRANGE);
}

TEST_F(PlantControl, AStatusIsSet) {
    ASSERT_EQ(set("StatusCode", UA_UInt32{UA_STATUSCODE_BADDEVICEFAILURE}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->read(rack("Changing.Status")).status(), UA_STATUSCODE_BADDEVICEFAILURE);
    ASSERT_EQ(set("StatusCode", UA_UInt32{UA_STATUSCODE_GOOD}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->value<UA_Int32>(rack("Changing.Status")), 42);
}

TEST_F(PlantControl, TheCounterJumps) {
    ASSERT_EQ(set("JumpCounter", UA_Int32{1000000}), UA_STATUSCODE_GOOD);
    const std::vector<ReadValue> values =
        client->readAll({rack("Moving.Counter"), rack("Diagnostics.Ticks")});
    EXPECT_EQ(values[0].get<UA_UInt32>(), values[1].get<UA_UInt64>() + 1000000);
}

TEST_F(PlantControl, NodesComeAndGo) {
    const std::string node = "ns=2;s=New.Node";
    ASSERT_EQ(setText("CreateNode", node), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->value<UA_Int32>(node), 42);
    EXPECT_EQ(client->browse(rack("Created")).references.size(), 1U);
    EXPECT_EQ(setText("CreateNode", node), UA_STATUSCODE_BADNODEIDEXISTS);
    EXPECT_EQ(setText("CreateNode", "nonsense"), UA_STATUSCODE_BADNODEIDINVALID);
    ASSERT_EQ(setText("DeleteNode", node), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->read(node).status(), UA_STATUSCODE_BADNODEIDUNKNOWN);
    EXPECT_EQ(setText("DeleteNode", node), UA_STATUSCODE_BADNODEIDUNKNOWN);
    ASSERT_EQ(setText("CreateNode", node), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->value<UA_Int32>(node), 42);
}

namespace {

/// Asks for a value and doesn't wait for it; remembers whether it came.
void ask(RawClient& client, const char* node, bool& answered) {
    const auto callback = [](UA_Client*, void* flag, UA_UInt32, UA_StatusCode, UA_DataValue*) {
        *static_cast<bool*>(flag) = true;
    };
    ASSERT_EQ(UA_Client_readValueAttribute_async(client.get(), UA_NODEID_STRING(3, const_cast<char*>(node)),
                                                 callback, &answered, nullptr),
              UA_STATUSCODE_GOOD);
    UA_Client_run_iterate(client.get(), 0);
}

std::chrono::steady_clock::duration durationOfRead(RawClient& client, const std::string& node) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(client.read(node).status(), UA_STATUSCODE_GOOD);
    return std::chrono::steady_clock::now() - start;
}

} // namespace

TEST_F(PlantControl, AnswersAreLate) {
    ASSERT_EQ(set("AnswerDelay", UA_UInt32{200}), UA_STATUSCODE_GOOD);
    EXPECT_GE(durationOfRead(*client, rack("Scalar.Int32")), 200ms);
    ASSERT_EQ(set("AnswerDelay", UA_UInt32{0}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->read(rack("Scalar.Int32")).status(), UA_STATUSCODE_GOOD);
}

TEST_F(PlantControl, ASlowReadIsSlow) {
    ASSERT_EQ(set("SlowReadDelay", UA_UInt32{200}), UA_STATUSCODE_GOOD);
    EXPECT_GE(durationOfRead(*client, rack("Slow.Value")), 200ms);
}

TEST_F(PlantControl, ASlowReadHoldsUpNobodyElse) {
    constexpr UA_UInt32 tenMinutes = 600000;
    ASSERT_EQ(set("SlowReadDelay", tenMinutes), UA_STATUSCODE_GOOD);
    RawClient waiting(server->url());
    bool answered = false;
    ask(waiting, "TestRack.Slow.Value", answered);
    for (int count = 0; count < 10; ++count)
        EXPECT_EQ(client->read(rack("Scalar.Int32")).status(), UA_STATUSCODE_GOOD);
    UA_Client_run_iterate(waiting.get(), 0);
    EXPECT_FALSE(answered);
    server->kill(SIGKILL);
}

TEST_F(PlantControl, AnswersOfAClosedConnectionReachNobody) {
    constexpr UA_UInt32 shortTime = 300;
    ASSERT_EQ(set("SlowReadDelay", shortTime), UA_STATUSCODE_GOOD);
    {
        RawClient gone(server->url());
        bool answered = false;
        ask(gone, "TestRack.Slow.Value", answered);
    }
    // The next connection gets the same socket number; a stray answer would break its handshake or its first
    // reads.
    RawClient next(server->url());
    const UA_UInt64 ticks = next.value<UA_UInt64>(rack("Diagnostics.Ticks"));
    EXPECT_TRUE(waitUntil([&] { return next.value<UA_UInt64>(rack("Diagnostics.Ticks")) >= ticks + 5; }));
}

TEST_F(PlantControl, ConnectionsBreak) {
    RawClient other(server->url());
    ASSERT_EQ(set("CloseConnections", UA_Boolean{true}), UA_STATUSCODE_GOOD);
    const auto isBroken = [](RawClient& victim) {
        return waitUntil([&] { return UA_StatusCode_isBad(victim.read("i=2258").status()); });
    };
    EXPECT_TRUE(isBroken(*client));
    EXPECT_TRUE(isBroken(other));
    EXPECT_TRUE(server->running());
    client.emplace(server->url());
    EXPECT_EQ(client->value<UA_UInt64>(rack("Diagnostics.OpenConnections")), 1U);
}

TEST_F(PlantControl, SessionsAreClosed) {
    ASSERT_EQ(set("CloseSessions", UA_Boolean{true}), UA_STATUSCODE_GOOD);
    EXPECT_TRUE(waitUntil([&] { return UA_StatusCode_isBad(client->read("i=2258").status()); }));
    client.emplace(server->url());
    EXPECT_EQ(client->value<UA_UInt64>(rack("Diagnostics.CurrentSessions")), 1U);
}

TEST_F(PlantControl, AShutdownIsAnnounced) {
    constexpr UA_Int32 running = 0;
    constexpr UA_Int32 shutdown = 4;
    const std::string state = "i=2259";
    EXPECT_EQ(client->value<UA_Int32>(state), running);
    ASSERT_EQ(set("ShutDown", UA_UInt32{600}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->value<UA_Int32>(state), shutdown);
    EXPECT_GT(client->value<UA_UInt32>("i=2992"), 500U);
    ASSERT_EQ(set("ShutDown", UA_UInt32{0}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(server->waitForEnd().exitCode, 0);
}
