#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include <gtest/gtest.h>

#include "interrupt.h"

using namespace opcua_cli;

namespace {

/// What a shell does: a Ctrl-C for one line, and one for a later line, whose command ends by itself in time.
[[noreturn]] void interruptTwoLines() {
    using std::chrono::milliseconds;
    watchForInterrupt();
    const auto first = std::chrono::steady_clock::now();
    std::raise(SIGINT);
    std::this_thread::sleep_for(milliseconds(200)); // it is seen
    forgetInterrupt();
    std::this_thread::sleep_until(first + milliseconds(1800));
    std::raise(SIGINT);
    std::this_thread::sleep_until(first + milliseconds(2300));
    forgetInterrupt();
    std::_Exit(0);
}

constexpr std::chrono::milliseconds longerThanAServerHas{2500};

[[noreturn]] void writeLate() {
    watchForInterrupt();
    std::raise(SIGINT);
    {
        const Writing writing;
        std::this_thread::sleep_for(longerThanAServerHas);
    }
    std::_Exit(0);
}

[[noreturn]] void interruptWhatIsWritten() {
    watchForInterrupt();
    const Writing writing;
    std::raise(SIGINT);
    std::raise(SIGINT);
    std::this_thread::sleep_for(longerThanAServerHas);
    std::_Exit(0);
}

} // namespace

TEST(InterruptDeathTest, WhatIsBeingWrittenIsWrittenToItsEnd) {
    EXPECT_EXIT(writeLate(), testing::ExitedWithCode(0), "");
}

TEST(InterruptDeathTest, ASecondSignalDoesNotWaitForWhatIsBeingWritten) {
    EXPECT_EXIT(interruptWhatIsWritten(), testing::KilledBySignal(SIGINT), "");
}

TEST(InterruptDeathTest, TheTimeToEndBeginsWithEachLineAnew) {
    EXPECT_EXIT(interruptTwoLines(), testing::ExitedWithCode(0), "");
}
