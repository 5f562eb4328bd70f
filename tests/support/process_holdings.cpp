#include "support/process_holdings.h"

#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

namespace test_support {
namespace {

int entriesOf(const char* directory) {
    const std::filesystem::directory_iterator entries(directory);
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

} // namespace

int openDescriptors() {
    constexpr int whatLooks = 1;
    return entriesOf("/proc/self/fd") - whatLooks;
}

int threadCount() {
    return entriesOf("/proc/self/task");
}

bool waitForThreadCount(int count) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (threadCount() != count) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace test_support
