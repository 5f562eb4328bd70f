// TEST_SILENCE_SECONDS=60 chooses how long the long silences last.
#include <chrono>
#include <cstddef>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "from_environment.h"
#include "outage_fixture.h"

using namespace std::chrono_literals;
using std::this_thread::sleep_for;
using std::this_thread::sleep_until;
using testing::AnyOf;
using testing::ElementsAre;

namespace {

constexpr int manyTags = 20000;
/// More than the buffers on the way take.
constexpr std::size_t megabytes = 8 * 1024 * 1024;
const std::string rack = "ns=3;s=TestRack.";

std::chrono::seconds longSilence() {
    return std::chrono::seconds(fromEnvironment("TEST_SILENCE_SECONDS", 20));
}

class Outage : public OutageTest {
protected:
    /// Two panels on one network: with one item, and with as many as there may be.
    void startPanels() {
        startPlant(manyTags);
        small = std::make_unique<Panel>(network().url());
        large = std::make_unique<Panel>(network().url());
        ASSERT_NO_FATAL_FAILURE(small->monitor({counter}));
        ASSERT_NO_FATAL_FAILURE(large->monitor(tagIds(manyTags)));
    }
    void startSmallPanel() {
        startPlant();
        small = std::make_unique<Panel>(network().url());
        ASSERT_NO_FATAL_FAILURE(small->monitor({counter}));
    }

    static int readCounter(Panel& panel) { return panel.read(counter, OpcUaDataType_UInt32); }

    /// A node that takes texts of any length.
    static OpcUaNode longText() {
        OpcUaNode node{};
        setField(node.nodeId, rack + "Scalar.String");
        node.dataType = OpcUaDataType_String;
        return node;
    }
    static int writeText(Panel& panel, const std::string& text) {
        OpcUaNode node = longText();
        int unused = 0;
        return panel.client().OpcUaSetValue(&node, text.c_str(), unused);
    }
    static std::string readLongText(COpcUaClientInterface& from) {
        OpcUaNode node = longText();
        std::string text(2 * megabytes, '\0');
        int size = static_cast<int>(text.size());
        EXPECT_EQ(from.OpcUaGetValue(&node, text.data(), size), 0);
        text.resize(static_cast<std::size_t>(size));
        return text;
    }

    /// Whatever is asked for, the answer is that there is no connection.
    static void expectNotConnected(Panel& panel) {
        OpcUaNode node{};
        setField(node.nodeId, rack + "Scalar.Int32");
        node.dataType = OpcUaDataType_Int32;
        int value = 1;
        int size = sizeof value;
        OpcUa_ReadNode many{&node, &value, size};
        COpcUaClientInterface& client = panel.client();
        for (int i = 0; i < 100; ++i)
            ASSERT_EQ(readCounter(panel), 3);
        EXPECT_EQ(client.OpcUaSetValue(&node, &value, size), 3);
        EXPECT_EQ(client.OpcUaGetMultiValue(&many, 1), 3);
        EXPECT_EQ(client.OpcUaAddMonitNode(&node, nullptr, 0), 3);
        EXPECT_EQ(client.OpcUaCreateSubScription(100), 3);
        EXPECT_EQ(client.OpcUaDeleteSubScription(), 3);
        EXPECT_EQ(client.OpcUaBrowse(nullptr), 4);
        EXPECT_EQ(client.OpcUaGetConnectStatus(), 2);
    }

    std::unique_ptr<Panel> small;
    std::unique_ptr<Panel> large;
};

TEST_F(Outage, OfEightSecondsCostsNothingAndACallIsAnsweredLate) {
    ASSERT_NO_FATAL_FAILURE(startPanels());
    const Beginnings before = beginnings();
    network().fallSilent();
    const auto end = Clock::now() + 8s;
    sleep_for(1s);
    auto call = std::async(std::launch::async, [this] { return readCounter(*small); });
    const auto numbers = changeTags(manyTags);
    sleep_until(end);
    const double reached = counterNow();
    network().speak();

    EXPECT_EQ(call.get(), 0);
    ASSERT_TRUE(small->waitForAtLeast(counter, reached));
    ASSERT_TRUE(large->waitForLatest(numbers));
    expectWhole(*small);
    expectWhole(*large);
    EXPECT_THAT(small->statuses(), ElementsAre(1, 2, 1));
    EXPECT_THAT(large->statuses(), AnyOf(ElementsAre(1), ElementsAre(1, 2, 1)));
    EXPECT_EQ(beginnings(), before);
}

TEST_F(Outage, OfManySecondsCostsNoMoreThanTheCallsInIt) {
    ASSERT_NO_FATAL_FAILURE(startPanels());
    const Beginnings before = beginnings();
    network().fallSilent();
    const auto end = Clock::now() + longSilence();
    auto call = std::async(std::launch::async, [this] { return readCounter(*small); });
    const auto numbers = changeTags(manyTags);
    ASSERT_TRUE(small->waitForStatus(2));
    ASSERT_TRUE(large->waitForStatus(2));
    expectNotConnected(*large);
    EXPECT_EQ(call.get(), 7) << "what was under way keeps its own time-out";
    expectNotConnected(*small);
    EXPECT_LT(Clock::now(), end) << "an operation has waited";
    sleep_until(end);
    const double reached = counterNow();
    network().speak();

    ASSERT_TRUE(small->waitForAtLeast(counter, reached));
    ASSERT_TRUE(large->waitForLatest(numbers));
    expectWhole(*small);
    expectWhole(*large);
    EXPECT_THAT(small->statuses(), ElementsAre(1, 2, 1));
    EXPECT_THAT(large->statuses(), ElementsAre(1, 2, 1));
    EXPECT_EQ(beginnings(), before);
}

TEST_F(Outage, ThatLosesEverySegmentIsSurvivedByTheConnection) {
    ASSERT_NO_FATAL_FAILURE(startSmallPanel());
    const Beginnings before = beginnings();
    network().fallSilent(Silence::Lost);
    const auto end = Clock::now() + longSilence();
    EXPECT_EQ(readCounter(*small), 7);
    sleep_until(end);
    const double reached = counterNow();
    network().speak();

    ASSERT_TRUE(small->waitForAtLeast(counter, reached));
    expectWhole(*small);
    EXPECT_THAT(small->statuses(), ElementsAre(1, 2, 1));
    EXPECT_EQ(beginnings(), before);
}

TEST_F(Outage, InTheMiddleOfARequestLetsItGoOn) {
    ASSERT_NO_FATAL_FAILURE(startSmallPanel());
    const Beginnings before = beginnings();
    const std::string text(megabytes, 'w');
    network().fallSilent();
    auto call = std::async(std::launch::async, [&] { return writeText(*small, text); });
    sleep_for(7s);
    network().speak();

    EXPECT_EQ(call.get(), 0);
    EXPECT_EQ(readLongText(client), text);
    expectWhole(*small);
    EXPECT_EQ(beginnings(), before);
}

TEST_F(Outage, InTheMiddleOfAnAnswerLetsItGoOn) {
    ASSERT_NO_FATAL_FAILURE(startSmallPanel());
    const Beginnings before = beginnings();
    const std::string text(megabytes, 'r');
    ASSERT_EQ(writeText(*small, text), 0);
    network().fallSilentAfter(megabytes / 2);
    auto call = std::async(std::launch::async, [&] { return readLongText(small->client()); });
    ASSERT_TRUE(waitUntil([this] { return network().isSilent(); }));
    sleep_for(7s);
    network().speak();

    EXPECT_EQ(call.get(), text);
    expectWhole(*small);
    EXPECT_EQ(beginnings(), before);
}

} // namespace
