#include <fstream>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "support/process_holdings.h"

using test_support::openDescriptors;
using test_support::threadCount;
using test_support::waitForThreadCount;

namespace {

TEST(ProcessHoldings, AThreadCountsUntilItHasEnded) {
    const int before = threadCount();
    std::promise<void> end;
    std::thread thread([&end] { end.get_future().wait(); });
    EXPECT_EQ(threadCount(), before + 1);
    end.set_value();
    thread.join();
    EXPECT_TRUE(waitForThreadCount(before));
}

TEST(ProcessHoldings, AFileCountsWhileItIsOpen) {
    const int before = openDescriptors();
    {
        const std::ifstream file("/proc/self/stat");
        EXPECT_EQ(openDescriptors(), before + 1);
    }
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace
