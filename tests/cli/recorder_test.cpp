#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "record/recorder.h"
#include "record/recording.h"
#include "support/temporary_directory.h"

using namespace opcua_cli;
using testing::ElementsAre;

namespace {

class RecorderRows : public testing::Test {
protected:
    RecorderRows() {
        Job text;
        text.node.nodeId = "ns=2;s=Text";
        text.node.dataType = OpcUaDataType_String;
        text.given = "Text";
        m_monitored.nodes.push_back(text);
    }

    static void change(Recorder& recorder, Value value) {
        Change change;
        change.value = std::move(value);
        recorder.change(change);
    }
    std::vector<RecordedRow> rows() const {
        std::vector<RecordedRow> found;
        Recording::toRead(m_path).rows({}, [&](const RecordedRow& row) { found.push_back(row); });
        return found;
    }
    std::vector<std::string> events() const {
        std::vector<std::string> found;
        for (const RecordedRow& row : rows())
            found.push_back(row.event);
        return found;
    }

    test_support::TemporaryDirectory m_directory;
    const std::string m_path = (m_directory.path() / "week.sqlite").string();
    Recording m_recording = Recording::toWrite(m_path);
    Monitored m_monitored{"opc.tcp://one", {}};
    std::size_t m_changes = 0;
};

} // namespace

TEST_F(RecorderRows, TheLockOfAnotherProgramEndsNothing) {
    Recorder recorder(m_monitored, m_recording, m_changes);
    Recording other = Recording::toWrite(m_path);
    other.together([&] {
        change(recorder, std::string("before"));
        EXPECT_NO_THROW(recorder.event({LinkEvent::Kind::Lost, "lost"}));
        EXPECT_NO_THROW(recorder.event({LinkEvent::Kind::Connected, "connected"}));
        EXPECT_NO_THROW(recorder.dropped(3));
        EXPECT_NO_THROW(recorder.end());
    });
    EXPECT_THAT(events(), ElementsAre("started"));
    m_recording.commit();
    EXPECT_THAT(events(), ElementsAre("started", "value", "lost", "connected", "dropped", "ended"));
}

TEST_F(RecorderRows, AnOutageThatTheConnectionSurvivesIsAGap) {
    Recorder recorder(m_monitored, m_recording, m_changes);
    recorder.event({LinkEvent::Kind::Silent, "no answer"});
    recorder.event({LinkEvent::Kind::NoAnswer, "still none"});
    recorder.event({LinkEvent::Kind::Answers, "again"});
    EXPECT_THAT(events(), ElementsAre("started", "outage", "outageOver"));
}

TEST_F(RecorderRows, WhatWasNotReadAnyMoreIsNotTakenForTooFast) {
    Recorder recorder(m_monitored, m_recording, m_changes);
    recorder.leftUnread(2);
    EXPECT_THAT(events(), ElementsAre("started", "leftUnread"));
    EXPECT_EQ(rows().back().text, "2 changes were not read any more before the end");
}

TEST_F(RecorderRows, ALongTextTakesNoOtherRowWithIt) {
    const std::size_t shown = 8 << 20;
    const std::string controlCharacters(16 << 20, '\x01');
    const std::string readable(60 << 20, 'x');
    Recorder recorder(m_monitored, m_recording, m_changes);
    change(recorder, std::string("before"));
    EXPECT_NO_THROW(change(recorder, "\xff" + controlCharacters));
    EXPECT_NO_THROW(change(recorder, readable));
    change(recorder, std::string("behind"));
    EXPECT_NO_THROW(recorder.end());
    ASSERT_THAT(events(), ElementsAre("started", "value", "value", "value", "value", "ended"));
    EXPECT_TRUE(rows()[3].text == readable.substr(0, shown) + "…") << rows()[3].text.size();
    EXPECT_EQ(rows()[4].text, "behind");
}
