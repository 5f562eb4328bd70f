#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <pthread.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "formats/text_file.h"
#include "interrupt.h"
#include "support/next_definition.h"
#include "support/temporary_directory.h"
#include "support/unprivileged.h"

using namespace opcua_cli;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace {

/// What is asked of the system for a file that is open, and whether it refuses.
struct Asked {
    bool refusesModes = false;
    bool refusesOwners = false;
    int interruptions = 0;                          ///< of what waits for the disk
    std::vector<std::pair<mode_t, mode_t>> modes{}; ///< the one that was, the one that is asked for
    std::vector<std::pair<uid_t, gid_t>> owners{};
};

Asked asked; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

int refusal() {
    errno = EPERM;
    return -1;
}

class TextFiles : public testing::Test {
protected:
    TextFiles() { asked = {}; }
    ~TextFiles() override { asked = {}; }

    void makeOld(unsigned mode) const {
        std::filesystem::remove(m_file);
        writeTextFile(m_file.string(), "old");
        std::filesystem::permissions(m_file, std::filesystem::perms(mode));
    }
    void replace() const { writeTextFile(m_file.string(), "new"); }
    std::string text() const { return readTextFile(m_file.string()).text; }
    unsigned mode() const { return status().st_mode & 07777U; }
    struct stat status() const {
        struct stat result{};
        EXPECT_EQ(stat(m_file.c_str(), &result), 0);
        return result;
    }
    std::filesystem::path leftOver() const {
        return m_file.string() + "." + std::to_string(getpid()) + ".part";
    }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_directory.path()))
            names.push_back(entry.path().filename().string());
        return names;
    }

    test_support::TemporaryDirectory m_directory;
    const std::filesystem::path m_file = m_directory.path() / "snapshot.json";
};

/// The Ctrl-C came; another signal only ends the wait for somebody at the other end of the pipe.
template <typename Work>
[[noreturn]] void interruptOnAPipe(const Work& work) {
    watchForInterrupt();
    struct sigaction nothing{};
    nothing.sa_handler = [](int) {};
    sigaction(SIGUSR1, &nothing, nullptr);
    std::raise(SIGINT);
    std::thread([waiting = pthread_self()] {
        for (;; std::this_thread::sleep_for(std::chrono::milliseconds(10)))
            pthread_kill(waiting, SIGUSR1);
    }).detach();
    try {
        work();
    } catch (const Failure& failure) {
        std::_Exit(static_cast<int>(failure.exitCode()));
    }
    std::_Exit(0);
}

} // namespace

extern "C" int fchmod(int file, mode_t mode) noexcept {
    static const auto next = nextDefinition<int (*)(int, mode_t)>("fchmod");
    struct stat before{};
    fstat(file, &before);
    asked.modes.emplace_back(before.st_mode & 07777U, mode);
    return asked.refusesModes ? refusal() : next(file, mode);
}

extern "C" int fchown(int file, uid_t owner, gid_t group) noexcept {
    static const auto next = nextDefinition<int (*)(int, uid_t, gid_t)>("fchown");
    asked.owners.emplace_back(owner, group);
    return asked.refusesOwners ? refusal() : next(file, owner, group);
}

extern "C" int fsync(int file) {
    static const auto next = nextDefinition<int (*)(int)>("fsync");
    if (asked.interruptions == 0)
        return next(file);
    --asked.interruptions;
    errno = EINTR;
    return -1;
}

TEST(TextFile, KeepsThePermissionsOfTheOneThatItReplaces) {
    const test_support::TemporaryDirectory directory;
    const std::filesystem::path file = directory.path() / "snapshot.csv";
    writeTextFile(file.string(), "old");
    std::filesystem::permissions(file, std::filesystem::perms(0640));
    writeTextFile(file.string(), "new");
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0640));
    EXPECT_EQ(readTextFile(file.string()).text, "new");
}

TEST_F(TextFiles, AreTheirOwnersAloneUntilItIsKnownWhoMayReadThem) {
    makeOld(0644);
    replace();
    EXPECT_THAT(asked.modes, ElementsAre(Pair(0600U, 0644U)));
    EXPECT_EQ(mode(), 0644U);
    EXPECT_EQ(text(), "new");
}

TEST_F(TextFiles, KeepTheOwnerOfTheOneThatTheyReplace) {
    makeOld(0600);
    giveToUnprivileged(m_file);
    const struct stat old = status();
    replace();
    // Only root gives files away; whoever else runs this sees at least that it is asked for.
    EXPECT_THAT(asked.owners, Contains(Pair(old.st_uid, old.st_gid)));
    EXPECT_EQ(status().st_uid, old.st_uid);
    EXPECT_EQ(status().st_gid, old.st_gid);
    EXPECT_EQ(mode(), 0600U);
    EXPECT_EQ(text(), "new");
}

TEST_F(TextFiles, AreWrittenWhereNoOwnerCanBeGiven) {
    makeOld(0640);
    asked.refusesOwners = true;
    replace();
    EXPECT_EQ(mode(), 0640U);
    EXPECT_EQ(text(), "new");
}

TEST_F(TextFiles, LendTheirOwnersRightsToNobody) {
    makeOld(06755);
    replace();
    EXPECT_EQ(mode(), 0755U);
}

TEST_F(TextFiles, AreWrittenWithPermissionsThatAreNoWider) {
    asked.refusesModes = true;
    makeOld(0600);
    replace();
    EXPECT_THAT(asked.modes, IsEmpty());
    makeOld(0644);
    replace();
    EXPECT_EQ(mode(), 0600U);
    EXPECT_EQ(text(), "new");
}

TEST_F(TextFiles, AreNotWrittenWithWiderPermissions) {
    makeOld(0040);
    asked.refusesModes = true;
    EXPECT_THROW(replace(), Failure);
    EXPECT_EQ(mode(), 0040U);
    EXPECT_THAT(files(), ElementsAre("snapshot.json"));
}

TEST_F(TextFiles, LeaveNothingWhenTheyAreNotFinished) {
    makeOld(0600);
    NewTextFile(m_file.string()).write("new");
    EXPECT_EQ(text(), "old");
    EXPECT_THAT(files(), ElementsAre("snapshot.json"));
}

TEST_F(TextFiles, AreWrittenBesideWhatAnotherProcessLeftBehind) {
    makeOld(0600);
    std::ofstream(leftOver()) << "half";
    replace();
    EXPECT_EQ(text(), "new");
    NewTextFile(m_file.string()).write("never finished");
    EXPECT_EQ(text(), "new");
    EXPECT_EQ(readTextFile(leftOver().string()).text, "half");
    EXPECT_THAT(files(), UnorderedElementsAre("snapshot.json", leftOver().filename().string()));
}

TEST_F(TextFiles, AreWrittenThoughASignalComesMeanwhile) {
    asked.interruptions = 2;
    replace();
    EXPECT_EQ(text(), "new");
}

TEST(TextFileDeathTest, APipeThatNobodyHasOpenIsWaitedForUntilCtrlC) {
    const test_support::TemporaryDirectory directory;
    const std::string pipe = (directory.path() / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const auto interrupted = testing::ExitedWithCode(static_cast<int>(ExitCode::Interrupted));
    EXPECT_EXIT(interruptOnAPipe([&] { readTextFile(pipe); }), interrupted, "");
    EXPECT_EXIT(interruptOnAPipe([&] { writeTextFile(pipe, "new"); }), interrupted, "");
}
