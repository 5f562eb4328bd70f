#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "support/temporary_directory.h"
#include "uabase/platform_layer.h"
#include "uabase/trace.h"

namespace {

namespace fs = std::filesystem;

void writeEntries(int thread, int count) {
    for (int i = 0; i < count; ++i)
        UaTrace::write(UaTrace::Errors, "threads", "entry %d/%d end", thread, i);
}

class TraceThreads : public testing::Test {
protected:
    ~TraceThreads() override { UaTrace::closeTrace(); }

    UaString name(const char* file = "client.log") const {
        return UaString((m_directory.path() / file).c_str());
    }

    /// Every entry of every file in the directory, checked to be whole.
    std::multiset<std::string> entries() const {
        std::multiset<std::string> found;
        for (const fs::directory_entry& file : fs::directory_iterator(m_directory.path())) {
            std::ifstream stream(file.path());
            for (std::string line; std::getline(stream, line);) {
                const std::size_t text = line.find("] ERROR threads | ");
                EXPECT_NE(text, std::string::npos) << line;
                EXPECT_EQ(line.substr(line.size() - 4), " end") << line;
                found.insert(line.substr(text));
            }
        }
        return found;
    }

    test_support::TemporaryDirectory m_directory;
};

TEST_F(TraceThreads, NoEntryIsLostOrTornOverRotations) {
    constexpr int threads = 4;
    constexpr int entriesEach = 500;
    ASSERT_EQ(UaTrace::initTrace(UaTrace::Errors, 100, 50, name(), "Application"), 0);
    std::vector<std::thread> writers;
    for (int thread = 0; thread < threads; ++thread)
        writers.emplace_back(writeEntries, thread, entriesEach);
    for (std::thread& writer : writers)
        writer.join();
    const std::multiset<std::string> found = entries();
    EXPECT_EQ(found.size(), static_cast<std::size_t>(threads * entriesEach));
    EXPECT_EQ(std::set<std::string>(found.begin(), found.end()).size(), found.size());
}

TEST_F(TraceThreads, SettingsMayChangeWhileOthersWrite) {
    std::atomic<int> written{0};
    std::atomic<bool> stop{false};
    std::vector<std::thread> writers;
    for (int thread = 0; thread < 3; ++thread) {
        writers.emplace_back([thread, &written, &stop] {
            while (!stop) {
                writeEntries(thread, 1);
                if (UaTrace::stackEnabled(0x20))
                    UaTrace::writeStack("ERROR", "threads", "from the stack end");
                ++written;
            }
        });
    }
    const auto letThemWrite = [&written](int count) {
        const int wanted = written + count;
        while (written < wanted)
            std::this_thread::yield();
    };
    for (int round = 0; round < 200; ++round) {
        UaTrace::initTrace(UaTrace::Errors, 20, 2, name(round % 2 == 0 ? "even.log" : "odd.log"),
                           "Application");
        UaPlatformLayer::changeTraceSettings(1, round % 3 == 0 ? 0U : 0x20U);
        LibT::setTraceActive(round % 5 != 0);
        LibT::setStackTraceActive(round % 7 != 0);
        if (round % 11 == 0)
            UaTrace::closeTrace();
        // The lock is not a fair one: without a pause here the writers would hardly get it.
        letThemWrite(1);
    }
    LibT::setTraceActive(true);
    LibT::setStackTraceActive(true);
    ASSERT_EQ(UaTrace::initTrace(UaTrace::Errors, 20, 2, name("last.log"), "Application"), 0);
    // Each writer may have begun its round before the trace was there.
    letThemWrite(static_cast<int>(writers.size()) + 1);
    stop = true;
    for (std::thread& writer : writers)
        writer.join();
    entries();
    EXPECT_GT(fs::file_size(m_directory.path() / "last.log"), 0U);
}

TEST_F(TraceThreads, TheProcessMayExitWhileOthersWrite) {
    const std::string file = name().text();
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        UaTrace::initTrace(UaTrace::Errors, 50, 2, UaString(file), "Application");
        std::atomic<int> running{0};
        for (int thread = 0; thread < 3; ++thread) {
            std::thread([thread, &running] {
                for (;;) {
                    writeEntries(thread, 1);
                    running |= 1 << thread;
                }
            }).detach();
        }
        while (running != 7)
            std::this_thread::yield();
        std::exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(entries().empty());
}

} // namespace
