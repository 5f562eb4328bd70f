#include <future>
#include <memory>
#include <thread>

#include "outage_fixture.h"

using namespace std::chrono_literals;
using testing::AnyOf;
using testing::ElementsAre;

namespace {

constexpr int tagCount = 1000;

class ServerTrouble : public OutageTest {
protected:
    void startPanel() {
        startPlant(tagCount);
        panel = std::make_unique<Panel>(network().url());
        ASSERT_NO_FATAL_FAILURE(panel->monitor(tagIds(tagCount)));
    }

    std::unique_ptr<Panel> panel;
};

TEST_F(ServerTrouble, AServerFrozenForSevenSecondsKeepsSessionAndItems) {
    ASSERT_NO_FATAL_FAILURE(startPanel());
    const Beginnings before = beginnings();
    // The client looks after a quiet server every 5 s: that is to fall into the first half of the trouble.
    std::this_thread::sleep_for(4s);
    server().freeze();
    auto call = std::async(std::launch::async, [this] { return panel->read(counter, OpcUaDataType_UInt32); });
    std::this_thread::sleep_for(7s);
    server().resume();

    EXPECT_EQ(call.get(), 0);
    ASSERT_EQ(ClientTest::connect(), 0); // the judge is not to depend on what is judged
    ASSERT_TRUE(panel->waitForLatest(changeTags(tagCount)));
    expectWhole(*panel);
    EXPECT_THAT(panel->statuses(), AnyOf(ElementsAre(1), ElementsAre(1, 2, 1)));
    EXPECT_EQ(beginnings(), before);
}

TEST_F(ServerTrouble, AServerBusyWithOneCallForSevenSecondsKeepsSessionAndItems) {
    ASSERT_NO_FATAL_FAILURE(startPanel());
    const Beginnings before = beginnings();
    ASSERT_EQ(write<unsigned>("ns=3;s=TestRack.Control.SlowReadDelay", OpcUaDataType_UInt32, 7000), 0);
    std::this_thread::sleep_for(4s);
    EXPECT_EQ(panel->read("ns=3;s=TestRack.Slow.Value", OpcUaDataType_Double), 0);

    ASSERT_TRUE(panel->waitForLatest(changeTags(tagCount)));
    expectWhole(*panel);
    EXPECT_THAT(panel->statuses(), AnyOf(ElementsAre(1), ElementsAre(1, 2, 1)));
    EXPECT_EQ(beginnings(), before);
}

} // namespace
