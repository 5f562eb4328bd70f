#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <ios>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "failure.h"
#include "interrupt.h"
#include "record/recording.h"
#include "support/temporary_directory.h"

using namespace opcua_cli;
using testing::ElementsAre;

namespace {

class RecordingFile : public testing::Test {
protected:
    Recording open() const { return Recording::toWrite(m_path); }

    static void add(Recording& recording, const std::string& text) {
        const std::int64_t node = 1;
        recording.add(std::chrono::system_clock::now(), "value", node, "String", text, text);
    }
    /// The texts of all rows that another program sees.
    std::vector<std::string> texts() const {
        std::vector<std::string> found;
        Recording::toRead(m_path).rows({}, [&](const RecordedRow& row) { found.push_back(row.text); });
        return found;
    }
    bool hasWriteAheadLog() const {
        std::ifstream file(m_path, std::ios::binary);
        const std::streamoff writeVersion = 18;
        return file.seekg(writeVersion).get() == 2;
    }

    test_support::TemporaryDirectory m_directory;
    const std::string m_path = (m_directory.path() / "week.sqlite").string();
};

/// What hangs between the lock and the last commit may be the server.
[[noreturn]] void endLateWithRowsThatALockHoldsUp(const std::string& path) {
    constexpr std::chrono::milliseconds longerThanAServerHas{2500};
    Recording recording = Recording::toWrite(path);
    recording.node("opc.tcp://one", "i=1", "Speed");
    Recording other = Recording::toWrite(path);
    watchForInterrupt();
    other.together([&] {
        recording.add(std::chrono::system_clock::now(), "value", 1, "String", std::string("kept"), "kept");
        recording.commitUnlessLocked();
        std::raise(SIGINT);
        std::this_thread::sleep_for(longerThanAServerHas);
    });
    recording.commit();
    std::_Exit(0);
}

} // namespace

TEST_F(RecordingFile, OneThatHasRowsToWriteHoldsNobodyUp) {
    Recording one = open();
    Recording other = open();
    one.node("opc.tcp://one", "i=1", "Speed");
    add(one, "first");
    other.node("opc.tcp://other", "i=1", "Speed");
    add(other, "second");
    other.commit();
    EXPECT_THAT(texts(), ElementsAre("second"));
    one.commit();
    EXPECT_THAT(texts(), ElementsAre("second", "first"));
}

TEST_F(RecordingFile, RowsDoNotPileUp) {
    Recording recording = open();
    recording.node("opc.tcp://one", "i=1", "Speed");
    std::vector<std::string> added;
    for (std::size_t i = 0; i < 5000; ++i)
        add(recording, added.emplace_back(std::to_string(i)));
    EXPECT_GE(texts().size(), 4000u);
    recording.commit();
    EXPECT_EQ(texts(), added);
}

TEST_F(RecordingFile, RowsAreKeptWhileAnotherProgramLocksIt) {
    Recording recording = open();
    recording.node("opc.tcp://one", "i=1", "Speed");
    Recording other = open();
    std::vector<std::string> added;
    other.together([&] {
        for (std::size_t i = 0; i < 2500; ++i)
            add(recording, added.emplace_back(std::to_string(i)));
        recording.commitWhenDue();
    });
    recording.commit();
    EXPECT_EQ(texts(), added);
}

TEST_F(RecordingFile, ASignalLeavesTimeForTheRowsThatALockHoldsUp) {
    EXPECT_EXIT(endLateWithRowsThatALockHoldsUp(m_path), testing::ExitedWithCode(0), "");
    EXPECT_THAT(texts(), ElementsAre("kept"));
}

TEST_F(RecordingFile, LongTextsDoNotPileUp) {
    Recording recording = open();
    recording.node("opc.tcp://one", "i=1", "Recipe");
    for (std::size_t i = 0; i < 5; ++i)
        add(recording, std::string(8 << 20, 'x'));
    EXPECT_GE(texts().size(), 2u);
}

TEST_F(RecordingFile, ARowThatCannotBeWrittenLeavesTheFileToOthers) {
    Recording one = open();
    one.node("opc.tcp://one", "i=1", "Speed");
    const auto addTooMuch = [&] {
        add(one, std::string((64 << 20) + 1, 'x'));
        one.commit();
    };
    EXPECT_THROW(addTooMuch(), Failure);
    Recording other = open();
    add(other, "second");
    other.commit();
    EXPECT_THAT(texts(), ElementsAre("second"));
}

TEST_F(RecordingFile, FinishedOnesNeedNoOtherFileBesideThem) {
    std::optional<Recording> recording;
    recording.emplace(open());
    EXPECT_TRUE(hasWriteAheadLog());
    recording->node("opc.tcp://one", "i=1", "Speed");
    add(*recording, "first");
    recording->commit();
    recording.reset();
    EXPECT_FALSE(hasWriteAheadLog());
    EXPECT_FALSE(std::filesystem::exists(m_path + "-wal"));
    EXPECT_THAT(texts(), ElementsAre("first"));
}

TEST_F(RecordingFile, StaysAsItIsForTheOneThatGoesOn) {
    Recording goesOn = open();
    goesOn.node("opc.tcp://one", "i=1", "Speed");
    {
        Recording ends = open();
        add(ends, "first");
        ends.commit();
    }
    EXPECT_TRUE(hasWriteAheadLog());
    add(goesOn, "second");
    goesOn.commit();
    EXPECT_THAT(texts(), ElementsAre("first", "second"));
}

TEST_F(RecordingFile, ManyBeginAndEndAtOnce) {
    constexpr std::size_t rounds = 10;
    constexpr std::size_t recorders = 6;
    for (std::size_t round = 0; round < rounds; ++round) {
        std::vector<std::future<void>> all;
        for (std::size_t i = 0; i < recorders; ++i)
            all.push_back(std::async(std::launch::async, [this] {
                Recording recording = open();
                recording.node("opc.tcp://one", "i=1", "Speed");
                add(recording, "row");
                recording.commit();
            }));
        for (std::future<void>& one : all)
            EXPECT_NO_THROW(one.get());
    }
    EXPECT_EQ(texts().size(), rounds * recorders);
}
