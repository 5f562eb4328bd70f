#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "OpcUaHelpers.h"
#include "link/backoff.h"
#include "link/trust_question.h"
#include "plant/latest_values.h"
#include "plant/plant_picture.h"
#include "plant/shown_text.h"
#include "plant/trend_history.h"

using namespace window_panel;
using std::chrono::minutes;
using std::chrono::seconds;

namespace {

PlantPicture pictureWith(Tag tag, double value) {
    PlantPicture picture;
    picture.setCurrent(true);
    picture.apply({tag, Value{value, {}}, true});
    return picture;
}

} // namespace

TEST(LatestValues, KeepTheLatestOfEachTagHoweverManyCome) {
    LatestValues values;
    std::thread flood([&] {
        for (int i = 0; i <= 100000; ++i)
            values.put(i % 2 == 0 ? Tag::DrumLevel : Tag::LineSpeed, {static_cast<double>(i), {}});
    });
    flood.join();
    const std::vector<Change> changes = values.take();
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_EQ(changes[0].value->number, 100000);
    EXPECT_EQ(changes[1].value->number, 99999);
    EXPECT_TRUE(values.take().empty());
}

TEST(LatestValues, TellOfAFailureOnce) {
    LatestValues values;
    values.setReadable(Tag::FeedFlow, true);
    EXPECT_TRUE(values.take().empty());
    values.setReadable(Tag::FeedFlow, false);
    const std::vector<Change> changes = values.take();
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_FALSE(changes[0].readable);
    EXPECT_FALSE(changes[0].value);
    values.setReadable(Tag::FeedFlow, false);
    EXPECT_TRUE(values.take().empty());
    values.put(Tag::FeedFlow, {7, {}});
    EXPECT_TRUE(values.take().at(0).readable) << "a value that comes is a good one";
}

TEST(PlantPicture, SaysWhatIsAbnormal) {
    EXPECT_EQ(pictureWith(Tag::DrumPressure, 10).condition(Tag::DrumPressure), Condition::Normal);
    EXPECT_EQ(pictureWith(Tag::DrumPressure, 10.8).condition(Tag::DrumPressure), Condition::High);
    EXPECT_EQ(pictureWith(Tag::DrumPressure, 8.9).condition(Tag::DrumPressure), Condition::Low);
    EXPECT_EQ(pictureWith(Tag::DrumPressure, 10).condition(Tag::DrumLevel), Condition::Unknown);
    EXPECT_EQ(pictureWith(Tag::DrumPressure, std::nan("")).condition(Tag::DrumPressure), Condition::High);
}

TEST(PlantPicture, KnowsThatAValueIsOld) {
    PlantPicture picture = pictureWith(Tag::DrumPressure, 11);
    picture.setCurrent(false);
    EXPECT_EQ(picture.condition(Tag::DrumPressure), Condition::Old);
    EXPECT_EQ(picture.text(Tag::DrumPressure), "11.00");
}

TEST(PlantPicture, ShowsStatesByName) {
    EXPECT_EQ(pictureWith(Tag::LineState, 3).text(Tag::LineState), "Fault");
    EXPECT_EQ(pictureWith(Tag::LineState, 4).text(Tag::LineState), QString("–"));
    EXPECT_EQ(pictureWith(Tag::LineState, -1).text(Tag::LineState), QString("–"));
    EXPECT_EQ(pictureWith(Tag::LineState, std::nan("")).text(Tag::LineState), QString("–"));
}

TEST(ShownText, ReplacesWhatCannotBeSeen) {
    EXPECT_EQ(shownText("Käse 锅炉 🧀"), QString::fromUtf8("Käse 锅炉 🧀"));
    EXPECT_EQ(shownText("a\nb"), QString::fromUtf8("a\uFFFDb"));
    EXPECT_EQ(shownText("a\u202Eb"), QString::fromUtf8("a\uFFFDb")) << "turns the direction of writing";
    EXPECT_EQ(shownText("a\xFF"
                        "b"),
              QString::fromUtf8("a\uFFFDb"));
}

TEST(TrendHistory, ForgetsWhatIsOlderThanItKeeps) {
    TrendHistory history;
    const TrendHistory::Clock::time_point start{};
    for (int second = 0; second < 3600; ++second)
        history.add(Tag::DrumLevel, start + seconds(second), second);
    const auto& points = history.pointsOf(Tag::DrumLevel);
    EXPECT_EQ(points.back().value, 3599);
    EXPECT_EQ(points.size(), static_cast<std::size_t>(seconds(TrendHistory::kept).count()) + 2)
        << "with the one whose value reaches in";
    history.add(Tag::Batch, start, 1);
    EXPECT_TRUE(history.pointsOf(Tag::LineSpeed).empty());
}

TEST(TrendHistory, HasGapsWhereNothingWasKnown) {
    TrendHistory history;
    const TrendHistory::Clock::time_point start{};
    history.interrupt(start);
    EXPECT_TRUE(history.pointsOf(Tag::DrumLevel).empty());
    history.add(Tag::DrumLevel, start, 55);
    history.interrupt(start + seconds(1));
    history.interrupt(start + seconds(2));
    ASSERT_EQ(history.pointsOf(Tag::DrumLevel).size(), 2U);
    EXPECT_FALSE(history.pointsOf(Tag::DrumLevel).back().isPresent);
    history.add(Tag::DrumLevel, start + seconds(3), std::numeric_limits<double>::infinity());
    EXPECT_FALSE(history.pointsOf(Tag::DrumLevel).back().isPresent) << "no place on any scale";
}

TEST(Backoff, DoublesUpToALimitAndBeginsAnew) {
    Backoff backoff;
    EXPECT_EQ(backoff.next().count(), 250);
    EXPECT_EQ(backoff.next().count(), 500);
    for (int i = 0; i < 10; ++i)
        backoff.next();
    EXPECT_EQ(backoff.next().count(), 4000);
    backoff.restart();
    EXPECT_EQ(backoff.next().count(), 250);
}

TEST(TrustQuestion, HandsTheAnswerToWhoWaits) {
    TrustQuestion question;
    question.answer(OpcUaTrust_Always); // nobody has asked
    question.open();
    OpcUaTrust answer = OpcUaTrust_Reject;
    std::thread waiting([&] { answer = question.await(); });
    question.answer(OpcUaTrust_Once);
    waiting.join();
    EXPECT_EQ(answer, OpcUaTrust_Once);
}

TEST(TrustQuestion, IsANoWhenNobodyCanBeAsked) {
    TrustQuestion question;
    question.open();
    question.close();
    EXPECT_EQ(question.await(), OpcUaTrust_Reject);
}

TEST(Values, AreReadFromADataChange) {
    _OpcUaDataChangeMsg change{};
    change.dataType = OpcUaDataType_Int16;
    const short number = -1234;
    std::memcpy(change.value, &number, sizeof number);
    EXPECT_EQ(valueOf(change).number, -1234);
    change.dataType = OpcUaDataType_String;
    std::memset(change.value, 'x', sizeof change.value);
    change.valueSize = 255; // there is more than fits
    EXPECT_EQ(valueOf(change).text, std::string(256, 'x'));
    change.dataType = OpcUaDataType_Null;
    EXPECT_EQ(valueOf(change).text, "");
}
