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

int threads() {
    return entriesOf("/proc/self/task");
}

bool waitForThreads(int count) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (threads() != count) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace

int openDescriptors() {
    constexpr int whatLooks = 1;
    return entriesOf("/proc/self/fd") - whatLooks;
}

int threadCount() {
#ifdef __SANITIZE_THREAD__
    // The sanitizer adds a thread of its own beside the first that is started, and keeps it.
    static const bool hasItsOwn = [] {
        const bool isFirst = threads() == 1;
        std::thread([] {}).join();
        return !isFirst || waitForThreads(2);
    }();
    static_cast<void>(hasItsOwn);
#endif
    return threads();
}

bool waitForThreadCount(int count) {
    return waitForThreads(count);
}

} // namespace test_support
