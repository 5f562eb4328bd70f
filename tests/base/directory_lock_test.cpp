#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/temporary_directory.h"
#include "uabase/directory_lock.h"

namespace {

constexpr std::chrono::milliseconds noTime(0);
constexpr std::chrono::seconds longTime(60);

class DirectoryLock : public testing::Test {
protected:
    bool isFree() const { return UaDirectoryLock(m_name, noTime).isHeld(); }

    const test_support::TemporaryDirectory m_directory;
    const UaString m_name{m_directory.path().string()};
};

TEST_F(DirectoryLock, IsHeldByOneAtATime) {
    auto lock = std::make_unique<UaDirectoryLock>(m_name, noTime);
    EXPECT_TRUE(lock->isHeld());
    EXPECT_TRUE(lock->problem().isEmpty());
    const UaDirectoryLock second(m_name, noTime);
    EXPECT_FALSE(second.isHeld());
    EXPECT_EQ(second.problem(), UaString("somebody else keeps it locked"));
    lock.reset();
    EXPECT_TRUE(isFree());
}

TEST_F(DirectoryLock, IsWaitedFor) {
    auto lock = std::make_unique<UaDirectoryLock>(m_name, noTime);
    std::thread waiting([this] { EXPECT_TRUE(UaDirectoryLock(m_name, longTime).isHeld()); });
    lock.reset();
    waiting.join();
}

TEST_F(DirectoryLock, IsReleasedWhenItsProcessIsKilled) {
    const pid_t child = ::fork();
    if (child == 0) {
        const UaDirectoryLock lock(m_name, noTime);
        ::raise(SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_TRUE(isFree());
}

/// A child that was forked while it was held does not keep it.
TEST_F(DirectoryLock, IsReleasedForChildrenToo) {
    auto lock = std::make_unique<UaDirectoryLock>(m_name, noTime);
    const pid_t child = ::fork();
    if (child == 0) {
        ::pause();
        ::_exit(0);
    }
    lock.reset();
    EXPECT_TRUE(isFree());
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

TEST_F(DirectoryLock, OfWhatIsNoDirectoryIsNotHeld) {
    const UaDirectoryLock missing(UaString(m_name.text() + "/missing"), longTime);
    EXPECT_FALSE(missing.isHeld());
    EXPECT_EQ(missing.problem(), UaString("No such file or directory"));
    const std::filesystem::path file = m_directory.path() / "file";
    std::ofstream(file) << "content";
    const UaDirectoryLock ofAFile(UaString(file.string()), longTime);
    EXPECT_FALSE(ofAFile.isHeld());
    EXPECT_EQ(ofAFile.problem(), UaString("Not a directory"));
    EXPECT_TRUE(UaDirectoryLock(UaString(), noTime).isHeld()) << "the working directory";
}

} // namespace
