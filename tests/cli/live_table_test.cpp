#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <limits>
#include <poll.h>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "live_table_pieces.h"
#include "monitor/change_inbox.h"
#include "monitor/live_table.h"
#include "monitor/trend.h"
#include "monitor/watched.h"
#include "text/time_text.h"
#include "text/utf8.h"

using namespace cli_test;
using namespace opcua_cli;
using std::chrono::milliseconds;
using testing::AllOf;
using testing::Each;
using testing::HasSubstr;
using testing::Not;

namespace {

std::string drawn(const std::vector<Value>& values, std::size_t width = 40) {
    Trend trend;
    for (const Value& value : values)
        trend.add(value);
    return trend.draw(width);
}

Job watched(const std::string& name, _OpcUaDataType type = OpcUaDataType_Double) {
    Job job;
    job.given = name;
    job.node.nodeId = "ns=2;s=" + name;
    job.node.nodeClass = 2;
    job.node.dataType = type;
    return job;
}

Monitored nodes(std::size_t count) {
    Monitored monitored{"opc.tcp://plant:4840", {}};
    for (std::size_t i = 0; i < count; ++i)
        monitored.nodes.push_back(watched("Node" + std::to_string(i)));
    return monitored;
}

_OpcUaDataChangeMsg message(const std::string& nodeId, std::int32_t value) {
    _OpcUaDataChangeMsg result{};
    nodeId.copy(result.nodeId, sizeof result.nodeId);
    result.dataType = OpcUaDataType_Int32;
    std::memcpy(result.value, &value, sizeof value);
    result.valueSize = sizeof value;
    return result;
}

_OpcUaDataChangeMsg textMessage(const std::string& text, int size) {
    _OpcUaDataChangeMsg result = message("a", 0);
    result.dataType = OpcUaDataType_String;
    text.copy(result.value, sizeof result.value);
    result.valueSize = size;
    return result;
}

bool isReadable(int descriptor) {
    pollfd watchedDescriptor{descriptor, POLLIN, 0};
    return poll(&watchedDescriptor, 1, 0) == 1;
}

} // namespace

TEST(Trend, GoesFromTheLowestToTheHighestValue) {
    EXPECT_EQ(drawn({0.0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0}), "▁▂▃▄▅▆▇█");
    EXPECT_EQ(drawn({-100.0, 100.0, 0.0}), "▁█▅");
    EXPECT_EQ(drawn({false, true, false}), "▁█▁");
    EXPECT_EQ(drawn({std::uint8_t{3}, std::int64_t{-4}}), "█▁");
}

TEST(Trend, IsALevelLineForAValueThatStands) {
    EXPECT_EQ(drawn({5.0, 5.0, 5.0}), "▄▄▄");
}

TEST(Trend, ShowsTheNewestValuesThatFit) {
    EXPECT_EQ(drawn({100.0, 1.0, 2.0}, 2), "▁█");
    EXPECT_EQ(drawn({1.0, 2.0}, 0), "");
    EXPECT_EQ(displayWidth(drawn(std::vector<Value>(1000, 1.0), 1000)), Trend::mostValues);
}

TEST(Trend, LeavesGapsForWhatIsNoNumber) {
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(drawn({1.0, std::numeric_limits<double>::quiet_NaN(), infinity, 2.0}), "▁  █");
    EXPECT_EQ(drawn({std::string("a"), Value{}}), "");
    EXPECT_EQ(drawn({}), "");
}

TEST(Trend, TakesTheGreatestNumbers) {
    const double most = std::numeric_limits<double>::max();
    EXPECT_EQ(drawn({-most, most, 0.0}), "▁█▅");
}

TEST(TimeText, ShowsUtcWithMilliseconds) {
    const std::chrono::system_clock::time_point time{milliseconds(1714550400250)};
    EXPECT_EQ(utcText(time), "2024-05-01T08:00:00.250Z");
    EXPECT_EQ(utcText(std::chrono::system_clock::time_point(milliseconds(-1))), "1969-12-31T23:59:59.999Z");
}

TEST(TimeText, ShowsAgesInAFittingUnit) {
    EXPECT_EQ(ageText(milliseconds(-5)), "0.0 s");
    EXPECT_EQ(ageText(milliseconds(350)), "0.3 s");
    EXPECT_EQ(ageText(milliseconds(9999)), "9.9 s");
    EXPECT_EQ(ageText(milliseconds(10000)), "10 s");
    EXPECT_EQ(ageText(std::chrono::seconds(99)), "99 s");
    EXPECT_EQ(ageText(std::chrono::seconds(100)), "1 min");
    EXPECT_EQ(ageText(std::chrono::minutes(100)), "1 h");
    EXPECT_EQ(ageText(std::chrono::hours(48)), "2 d");
}

TEST(LiveTable, ShowsValuesTypesAgesAndTrends) {
    Monitored monitored = nodes(1);
    monitored.nodes.push_back(watched("Batch", OpcUaDataType_String));
    LiveTable table(monitored);
    table.change(changed(0, 1.0));
    table.change(changed(0, 2.123456789, start + milliseconds(1000)));
    table.change(changed(1, std::string("B-1\n")));
    const auto text = linesOf(table.draw(terminal(100, 24), start + milliseconds(1500)));
    ASSERT_EQ(text.size(), 4u);
    EXPECT_EQ(text[0], "connected  opc.tcp://plant:4840  2 nodes, 3 changes  Ctrl-C ends");
    EXPECT_EQ(text[1], "Name   Value     Type      Age  Trend");
    EXPECT_EQ(text[2], "Node0  2.123457  Double  0.5 s  ▁█");
    EXPECT_EQ(text[3], "Batch  \"B-1\\n\"   String  1.5 s");
}

TEST(LiveTable, SaysWhyThereIsNoValue) {
    Monitored monitored = nodes(3);
    monitored.nodes[2].node.isArray = true;
    monitored.nodes[2].node.dimensions = {8};
    monitored.nodes[0].problem = Problem{"the server does not monitor this node"};
    LiveTable table(monitored);
    table.refused(0);
    table.change(changed(2, Value{}));
    const auto text = linesOf(table.draw(terminal(100, 24), start));
    EXPECT_THAT(text[2], HasSubstr("cannot be monitored"));
    EXPECT_THAT(text[3], AllOf(HasSubstr("no good value yet"), HasSubstr("-")));
    EXPECT_THAT(text[4], AllOf(HasSubstr("changed"), HasSubstr("Double[8]")));
}

// A node may be refused anew after each outage.
TEST(LiveTable, TellsAtItsEndOnceOfEachNodeThatIsStillRefused) {
    Monitored monitored = nodes(3);
    for (Job& job : monitored.nodes)
        job.problem = Problem{"not monitored"};
    LiveTable table(monitored);
    for (int i = 0; i < 3; ++i) {
        table.refused(0);
        table.refused(1);
    }
    table.change(changed(1, 1.0));
    testing::internal::CaptureStderr();
    table.end();
    const std::vector<std::string> reports = linesOf(testing::internal::GetCapturedStderr());
    EXPECT_EQ(std::count_if(reports.begin(), reports.end(),
                            [](const std::string& line) {
                                return line.find("ns=2;s=Node0: not monitored") != line.npos;
                            }),
              1);
    EXPECT_THAT(reports, Each(Not(HasSubstr("Node1"))));
}

TEST(LiveTable, ANodeThatIsAcceptedWhenConnectedAnewIsRefusedNoMore) {
    Monitored monitored = nodes(2);
    for (Job& job : monitored.nodes)
        job.problem = Problem{"not monitored"};
    LiveTable table(monitored);
    table.refused(0);
    table.refused(1);
    table.event({LinkEvent::Kind::Lost, "lost"});
    EXPECT_THAT(linesOf(table.draw(terminal(), start))[2], HasSubstr("cannot be monitored"));
    table.event({LinkEvent::Kind::Connected, "connected again"});
    table.refused(1);
    const auto text = linesOf(table.draw(terminal(), start));
    EXPECT_THAT(text[2], HasSubstr("no good value yet"));
    EXPECT_THAT(text[3], HasSubstr("cannot be monitored"));
}

TEST(LiveTable, FitsTheTerminal) {
    Monitored monitored = nodes(50);
    monitored.nodes[0].given = std::string(200, 'n');
    LiveTable table(monitored);
    for (int i = 0; i < 100; ++i)
        table.change(changed(0, static_cast<double>(i)));
    table.leftOut({std::string(300, 'r')});
    for (const std::size_t height : {1u, 3u, 5u, 10u, 24u, 60u}) {
        for (const std::size_t width : {30u, 60u, 80u, 200u}) {
            const auto text = linesOf(table.draw(terminal(width, height), start));
            EXPECT_LE(text.size(), height);
            for (const std::string& line : text)
                EXPECT_LE(displayWidth(line), std::max<std::size_t>(width, 38)) << width << ": " << line;
        }
    }
    EXPECT_THAT(table.draw(terminal(80, 10), start), HasSubstr("… 44 more nodes"));
    EXPECT_THAT(table.draw(terminal(80, 60), start), Not(HasSubstr("more node")));
}

TEST(LiveTable, ColumnsStandStill) {
    const Monitored monitored = nodes(1);
    LiveTable table(monitored);
    table.change(changed(0, 1.234567));
    const std::size_t wide = linesOf(table.draw(terminal(80, 24), start))[1].find("Type");
    table.change(changed(0, 1.0));
    EXPECT_EQ(linesOf(table.draw(terminal(80, 24), start))[1].find("Type"), wide);
}

TEST(LiveTable, SaysHowTheConnectionIs) {
    const Monitored monitored = nodes(1);
    LiveTable table(monitored);
    table.event({LinkEvent::Kind::Lost, "the connection is lost; trying again in 0.5 s"});
    EXPECT_EQ(table.draw(terminal(80, 24), start).rfind("the connection is lost; trying again in 0.5 s", 0),
              0u);
    table.event({LinkEvent::Kind::Connected, "connected again after 3.2 s"});
    EXPECT_EQ(table.draw(terminal(80, 24), start).rfind("connected again after 3.2 s", 0), 0u);
}

TEST(WatchedNodes, ABeginningIsTheWholeOfWhatIsShort) {
    const std::string longest(4096, 'x');
    EXPECT_EQ(beginningOf(longest), longest);
    EXPECT_EQ(beginningOf(longest + "y"), longest + "…");
    EXPECT_EQ(beginningOf(Value(1.5)), Value(1.5));
    EXPECT_EQ(beginningOf(Value(longest + "y")), Value(longest + "…"));
}

TEST(WatchedNodes, OfOneNameShowTheirIds) {
    Jobs all{watched("Level"), watched("Speed"), watched("Level")};
    all[2].node.nodeId = "ns=2;s=Other";
    makeNamesUnique(all);
    EXPECT_EQ(all[0].given, "Level (ns=2;s=Level)");
    EXPECT_EQ(all[1].given, "Speed");
    EXPECT_EQ(all[2].given, "Level (ns=2;s=Other)");
}

TEST(WatchedNodes, HaveNamesUpToABound) {
    WatchList list(10);
    list.add("12345", watched("A").node, {});
    list.add("1234567890", watched("A").node, {});
    list.add("67890", watched("B").node, {});
    EXPECT_THROW(list.add("1", watched("C").node, {}), Failure);
    const Jobs all = list.take();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].given, "12345");
    EXPECT_EQ(all[1].given, "67890");
}

TEST(ChangeInbox, KeepsChangesInTheirOrder) {
    ChangeInbox inbox;
    inbox.expect({"a", "b"});
    EXPECT_FALSE(isReadable(inbox.descriptor()));
    inbox.add(message("b", 1));
    inbox.add(message("a", 2));
    inbox.add(message("c", 3));
    EXPECT_TRUE(isReadable(inbox.descriptor()));
    const auto changes = inbox.collect();
    ASSERT_EQ(changes.size(), 2u) << "nobody waits for c";
    EXPECT_EQ(changes[0].node, 1u);
    EXPECT_EQ(changes[0].value, Value(std::int32_t{1}));
    EXPECT_EQ(changes[1].node, 0u);
    EXPECT_FALSE(isReadable(inbox.descriptor()));
    EXPECT_TRUE(inbox.collect().empty());
}

TEST(ChangeInbox, DropsTheOldestAndCountsThem) {
    ChangeInbox inbox(2);
    inbox.expect({"a"});
    for (int i = 0; i < 5; ++i)
        inbox.add(message("a", i));
    const auto changes = inbox.collect();
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_EQ(changes[0].value, Value(std::int32_t{3}));
    EXPECT_EQ(inbox.collectDropped(), 3u);
    EXPECT_EQ(inbox.collectDropped(), 0u);
}

TEST(ChangeInbox, KnowsTextsThatAreCut) {
    ChangeInbox inbox;
    inbox.expect({"a"});
    inbox.add(textMessage("abc", 3));
    inbox.add(textMessage(std::string(254, 'x'), 254));
    inbox.add(textMessage(std::string(256, 'x'), 255));
    const auto changes = inbox.collect();
    ASSERT_EQ(changes.size(), 3u);
    EXPECT_EQ(changes[0].value, Value(std::string("abc")));
    EXPECT_FALSE(changes[0].cut);
    EXPECT_EQ(changes[1].value, Value(std::string(254, 'x')));
    EXPECT_FALSE(changes[1].cut);
    EXPECT_TRUE(changes[2].cut);
}

TEST(ChangeInbox, AZeroByteInTheLastPlaceMayBeTheTextsOwn) {
    ChangeInbox inbox;
    inbox.expect({"a"});
    inbox.add(textMessage(std::string(255, 'x') + '\0', 255));
    EXPECT_TRUE(inbox.collect().front().cut);
}
