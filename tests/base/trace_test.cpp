#include <chrono>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/temporary_directory.h"
#include "support/text_file.h"
#include "uabase/platform_layer.h"
#include "uabase/trace.h"

namespace {

namespace fs = std::filesystem;
using test_support::linesOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr unsigned int stackErrors = 0x20;
constexpr unsigned int stackWarnings = 0x10;

class Trace : public testing::Test {
protected:
    ~Trace() override {
        UaTrace::closeTrace();
        UaTrace::setTraceActive(true);
        LibT::setStackTraceActive(true);
    }

    /// At levels below LifeCycle the file has no opening entry.
    int open(UaTrace::TraceLevel level, unsigned int maxEntries = 50000, unsigned int backups = 10) const {
        return UaTrace::initTrace(level, maxEntries, backups, UaString(m_file.c_str()), "Application");
    }
    fs::path backup(unsigned int number) const { return m_file.string() + "." + std::to_string(number); }
    std::vector<std::string> lines() const { return linesOf(m_file); }

    static void writeNumbers(int first, int last) {
        for (int number = first; number <= last; ++number)
            UaTrace::write(UaTrace::Errors, "area", "number %d", number);
    }

    test_support::TemporaryDirectory m_directory;
    fs::path m_file = m_directory.path() / "client.log";
};

TEST_F(Trace, AnEntryIsOneLineWithTimeThreadLevelAndArea) {
    ASSERT_EQ(open(UaTrace::Warnings), 0);
    UaTrace::write(UaTrace::Errors, "Connect", "refused by %s:%d", "host", 4840);
    UaTrace::write(UaTrace::Warnings, "Read", "late");
    ASSERT_THAT(lines(), SizeIs(2));
    const std::regex form(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z \[\d+\] (\w+ \w+ \| .*))");
    std::smatch match;
    const std::string first = lines()[0];
    ASSERT_TRUE(std::regex_match(first, match, form)) << first;
    EXPECT_EQ(match[1], "ERROR Connect | refused by host:4840");
    EXPECT_THAT(lines()[0], HasSubstr("[" + std::to_string(::gettid()) + "]"));
    EXPECT_THAT(lines()[1], EndsWith("] WARNING Read | late"));
}

TEST_F(Trace, TheTimeIsUtcWhateverTheZone) {
    ::setenv("TZ", "XYZ-11:30", 1);
    ::tzset();
    ASSERT_EQ(open(UaTrace::Errors), 0);
    const auto now = [] { return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()); };
    const std::time_t before = now();
    UaTrace::write(UaTrace::Errors, "area", "now");
    const std::time_t after = now(); // std::time may be a tick behind
    std::tm time = {};
    ASSERT_NE(::strptime(lines().at(0).c_str(), "%Y-%m-%dT%H:%M:%S", &time), nullptr);
    const std::time_t written = ::timegm(&time);
    EXPECT_GE(written, before);
    EXPECT_LE(written, after);
    ::unsetenv("TZ");
    ::tzset();
}

TEST_F(Trace, ALevelShowsThoseBelowIt) {
    ASSERT_EQ(open(UaTrace::Warnings), 0);
    EXPECT_TRUE(UaTrace::enabled(UaTrace::Errors));
    EXPECT_TRUE(UaTrace::enabled(UaTrace::Warnings));
    EXPECT_FALSE(UaTrace::enabled(UaTrace::LifeCycle));
    EXPECT_FALSE(UaTrace::enabled(UaTrace::Off));
    UaTrace::write(UaTrace::LifeCycle, "area", "hidden");
    UaTrace::write(UaTrace::Off, "area", "hidden");
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(Trace, FromLifeCycleOnTheOpeningIsTold) {
    ASSERT_EQ(open(UaTrace::Everything), 0);
    ASSERT_THAT(lines(), SizeIs(1));
    EXPECT_THAT(lines()[0],
                HasSubstr("LIFECYCLE Trace | Application, process " + std::to_string(::getpid())));
}

TEST_F(Trace, LevelOffWritesNothing) {
    ASSERT_EQ(open(UaTrace::Off), 0);
    UaTrace::write(UaTrace::Errors, "area", "hidden");
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_TRUE(fs::exists(m_file));
}

TEST_F(Trace, GoesThroughALinkOfItsOwnUser) {
    fs::create_directory(m_directory.path() / "logs");
    fs::create_symlink("logs/real.log", m_file);
    ASSERT_EQ(open(UaTrace::Errors), 0);
    UaTrace::write(UaTrace::Errors, "area", "through the link");
    EXPECT_THAT(lines(), SizeIs(1));
    EXPECT_TRUE(fs::is_symlink(m_file));
    EXPECT_TRUE(fs::is_regular_file(m_directory.path() / "logs/real.log"));
}

TEST_F(Trace, ALinkStaysWhenItsFileIsFull) {
    fs::create_directory(m_directory.path() / "logs");
    fs::create_symlink("logs/real.log", m_file);
    ASSERT_EQ(open(UaTrace::Errors, 2, 1), 0);
    writeNumbers(1, 3);
    EXPECT_TRUE(fs::is_symlink(m_file));
    EXPECT_THAT(lines(), ElementsAre(EndsWith("number 3")));
    EXPECT_THAT(linesOf(m_directory.path() / "logs/real.log.1"),
                ElementsAre(EndsWith("number 1"), EndsWith("number 2")));
    EXPECT_FALSE(fs::exists(backup(1)));
}

TEST_F(Trace, GoesOnInTheFileThatAnotherProcessHasBegun) {
    ASSERT_EQ(open(UaTrace::Errors, 3, 2), 0);
    writeNumbers(1, 1);
    fs::rename(m_file, backup(1));
    std::ofstream(m_file) << "of another process\nof another process\n";
    writeNumbers(2, 3);
    EXPECT_THAT(lines(), ElementsAre(EndsWith("number 3"))) << "what was in it counts";
    EXPECT_THAT(linesOf(backup(1)), ElementsAre("of another process", "of another process", EndsWith("2")));
    EXPECT_THAT(linesOf(backup(2)), ElementsAre(EndsWith("number 1")));
}

TEST_F(Trace, GoesOnUnseenWhenItsFileIsRemoved) {
    ASSERT_EQ(open(UaTrace::Errors), 0);
    writeNumbers(1, 1);
    const fs::path unseen = m_directory.path() / "still.log";
    fs::create_hard_link(m_file, unseen);
    fs::remove(m_file);
    writeNumbers(2, 2);
    EXPECT_FALSE(fs::exists(m_file));
    EXPECT_THAT(linesOf(unseen), ElementsAre(EndsWith("number 1"), EndsWith("number 2")));
}

TEST_F(Trace, AFileWithoutEndIsFull) {
    std::ofstream(m_file).close();
    fs::resize_file(m_file, std::uintmax_t{1} << 40);
    ASSERT_EQ(open(UaTrace::Errors, 3, 1), 0);
    writeNumbers(1, 1);
    EXPECT_THAT(lines(), ElementsAre(EndsWith("number 1")));
    EXPECT_EQ(fs::file_size(backup(1)), std::uintmax_t{1} << 40);
}

/// Root alone can make one.
TEST_F(Trace, DoesNotGoThroughALinkOfAnotherUser) {
    const fs::path victim = m_directory.path() / "victim";
    std::ofstream(victim) << "precious\n";
    fs::create_symlink("near", m_file);
    fs::create_symlink("victim", m_directory.path() / "near");
    const bool isForeign = ::geteuid() == 0;
    if (isForeign)
        ASSERT_EQ(::lchown((m_directory.path() / "near").c_str(), 12345, 12345), 0);
    EXPECT_EQ(open(UaTrace::Errors), isForeign ? -1 : 0);
    UaTrace::write(UaTrace::Errors, "area", "somewhere else");
    EXPECT_EQ(fs::file_size(victim) == 9, isForeign);
}

TEST_F(Trace, EverybodyMayReadItAndItsUserAloneWrites) {
    const mode_t mask = ::umask(0);
    ASSERT_EQ(open(UaTrace::Errors), 0);
    ::umask(mask);
    struct stat status = {};
    ASSERT_EQ(::stat(m_file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
}

TEST_F(Trace, NothingIsEnabledWithoutAFile) {
    EXPECT_FALSE(UaTrace::enabled(UaTrace::Errors));
    UaPlatformLayer::changeTraceSettings(1, 0xFFFFFFFF);
    EXPECT_FALSE(UaTrace::stackEnabled(stackErrors));
    UaTrace::write(UaTrace::Errors, "area", "nowhere");
    UaTrace::writeStack("ERROR", "area", "nowhere");
}

TEST_F(Trace, CanBeSwitchedOffAndOn) {
    ASSERT_EQ(open(UaTrace::Errors), 0);
    LibT::setTraceActive(false);
    EXPECT_FALSE(UaTrace::enabled(UaTrace::Errors));
    writeNumbers(1, 1);
    LibT::setTraceActive(true);
    writeNumbers(2, 2);
    EXPECT_THAT(lines(), ElementsAre(EndsWith("number 2")));
}

TEST_F(Trace, ControlCharactersDoNotBreakTheLine) {
    ASSERT_EQ(open(UaTrace::Errors), 0);
    UaTrace::write(UaTrace::Errors, "a\nb", "%s", "1\r\n2\t3\x1B[31m4\x7F 5\xC2\x9B 6 é 温度");
    UaPlatformLayer::changeTraceSettings(1, stackErrors);
    UaTrace::writeStack("ERR\nOR", "x", "y\nz");
    EXPECT_THAT(lines(),
                ElementsAre(EndsWith(R"(ERROR a\x0Ab | 1\x0D\x0A2\x093\x1B[31m4\x7F 5\u009B 6 é 温度)"),
                            EndsWith(R"(ERR\x0AOR x | y\x0Az)")));
}

TEST_F(Trace, NothingTurnsTheDirectionOrEndsTheLine) {
    ASSERT_EQ(open(UaTrace::Errors), 0);
    UaTrace::write(UaTrace::Errors, "area", "%s",
                   "1\u202A2\u202E3\u20664\u20695\u200E6\u200F7\u061C8\u20289\u20290\u0085");
    UaTrace::write(UaTrace::Errors, "area", "%s", "\u200D\u2027\u202F\u2065\u206A\u00A0😀\uFFFD");
    EXPECT_THAT(
        lines(),
        ElementsAre(EndsWith(R"(| 1\u202A2\u202E3\u20664\u20695\u200E6\u200F7\u061C8\u20289\u20290\u0085)"),
                    EndsWith("| \u200D\u2027\u202F\u2065\u206A\u00A0😀\uFFFD")));
}

TEST_F(Trace, BytesThatAreNoUtf8AreWrittenOut) {
    ASSERT_EQ(open(UaTrace::Errors), 0);
    for (const char* text : {"Latin-1: \xE9", "lone: \x9B[31m", "cut: \xE6\xB8", "surrogate: \xED\xA0\x80",
                             "overlong: \xC0\x8A", "beyond: \xF4\x90\x80\x80"})
        UaTrace::write(UaTrace::Errors, "area", "%s", text);
    EXPECT_THAT(lines(),
                ElementsAre(EndsWith(R"(Latin-1: \xE9)"), EndsWith(R"(lone: \x9B[31m)"),
                            EndsWith(R"(cut: \xE6\xB8)"), EndsWith(R"(surrogate: \xED\xA0\x80)"),
                            EndsWith(R"(overlong: \xC0\x8A)"), EndsWith(R"(beyond: \xF4\x90\x80\x80)")));
}

TEST_F(Trace, ALongTextIsCutBetweenCharacters) {
    ASSERT_EQ(open(UaTrace::Errors), 0);
    for (const char* character : {"é", "温", "😀", "\x1B"}) {
        for (const char* before : {"", "x", "xx", "xxx"}) {
            std::string text = before;
            while (text.size() < 20000)
                text += character;
            UaTrace::write(UaTrace::Errors, "area", "%s", text.c_str());
            UaTrace::writeStack("ERROR", "area", text.c_str());
        }
    }
    for (const std::string& line : lines()) {
        const std::string end = line.substr(line.size() - 4);
        EXPECT_THAT(end, AnyOf("éé", EndsWith("温"), "😀", R"(\x1B)"));
        EXPECT_GT(line.size(), 8180U);
        EXPECT_LT(line.size(), 8300U);
    }
}

TEST_F(Trace, ALongTextIsCut) {
    ASSERT_EQ(open(UaTrace::Errors), 0);
    UaTrace::write(UaTrace::Errors, "area", "%s", std::string(1 << 20, 'x').c_str());
    UaTrace::write(UaTrace::Errors, "area", "next");
    ASSERT_THAT(lines(), SizeIs(2));
    EXPECT_THAT(lines()[0], EndsWith("xxxx"));
    EXPECT_LT(lines()[0].size(), 9000U);
    EXPECT_THAT(lines()[1], EndsWith("next"));
}

TEST_F(Trace, NullTextsAreEmpty) {
    ASSERT_EQ(open(UaTrace::Errors), 0);
    UaPlatformLayer::changeTraceSettings(1, stackErrors);
    UaTrace::writeStack(nullptr, nullptr, nullptr);
    UaTrace::write(UaTrace::Errors, nullptr, "text");
    EXPECT_THAT(lines(), SizeIs(2));
}

TEST_F(Trace, StackMessagesFollowTheMaskAndNotTheLevel) {
    ASSERT_EQ(open(UaTrace::Off), 0);
    EXPECT_FALSE(UaTrace::stackEnabled(stackErrors));
    UaPlatformLayer::changeTraceSettings(1, stackErrors);
    EXPECT_TRUE(UaTrace::stackEnabled(stackErrors));
    EXPECT_FALSE(UaTrace::stackEnabled(stackWarnings));
    UaTrace::writeStack("ERROR", "network", "reset by peer");
    EXPECT_THAT(lines(), ElementsAre(EndsWith("ERROR network | reset by peer")));

    UaPlatformLayer::changeTraceSettings(1, 0x01);
    EXPECT_TRUE(UaTrace::stackEnabled(stackWarnings));
    LibT::setStackTraceActive(false);
    EXPECT_FALSE(UaTrace::stackEnabled(stackErrors));
    LibT::setStackTraceActive(true);
    EXPECT_TRUE(UaTrace::stackEnabled(stackErrors));
    UaPlatformLayer::changeTraceSettings(0, 0xFFFFFFFF);
    EXPECT_FALSE(UaTrace::stackEnabled(stackErrors));
    UaTrace::writeStack("ERROR", "network", "hidden");
    EXPECT_THAT(lines(), SizeIs(1));
}

TEST_F(Trace, AFullFileBecomesABackup) {
    ASSERT_EQ(open(UaTrace::Errors, 3, 2), 0);
    writeNumbers(1, 3);
    EXPECT_FALSE(fs::exists(backup(1)));
    writeNumbers(4, 4);
    EXPECT_THAT(lines(), ElementsAre(EndsWith("number 4")));
    EXPECT_THAT(linesOf(backup(1)),
                ElementsAre(EndsWith("number 1"), EndsWith("number 2"), EndsWith("number 3")));
    writeNumbers(5, 10);
    EXPECT_THAT(lines(), ElementsAre(EndsWith("number 10")));
    EXPECT_THAT(linesOf(backup(1)),
                ElementsAre(EndsWith("number 7"), EndsWith("number 8"), EndsWith("number 9")));
    EXPECT_THAT(linesOf(backup(2)),
                ElementsAre(EndsWith("number 4"), EndsWith("number 5"), EndsWith("number 6")));
    EXPECT_FALSE(fs::exists(backup(3)));
}

TEST_F(Trace, WithoutBackupsAFullFileStartsAnew) {
    ASSERT_EQ(open(UaTrace::Errors, 2, 0), 0);
    writeNumbers(1, 5);
    EXPECT_THAT(lines(), ElementsAre(EndsWith("number 5")));
    EXPECT_FALSE(fs::exists(backup(1)));
}

TEST_F(Trace, ALimitOfZeroEntriesKeepsTheLastOne) {
    ASSERT_EQ(open(UaTrace::Errors, 0, 1), 0);
    writeNumbers(1, 3);
    EXPECT_THAT(lines(), ElementsAre(EndsWith("number 3")));
    EXPECT_THAT(linesOf(backup(1)), ElementsAre(EndsWith("number 2")));
}

TEST_F(Trace, AnyNumberOfBackupsIsFine) {
    ASSERT_EQ(open(UaTrace::Errors, 1, 0xFFFFFFFF), 0);
    writeNumbers(1, 13);
    EXPECT_THAT(linesOf(backup(12)), ElementsAre(EndsWith("number 1")));
    EXPECT_FALSE(fs::exists(backup(13)));
}

TEST_F(Trace, EntriesOfAnExistingFileCount) {
    ASSERT_EQ(open(UaTrace::Errors, 3, 1), 0);
    writeNumbers(1, 2);
    ASSERT_EQ(open(UaTrace::Errors, 3, 1), 0);
    writeNumbers(3, 4);
    EXPECT_THAT(linesOf(backup(1)), SizeIs(3));
    EXPECT_THAT(lines(), ElementsAre(EndsWith("number 4")));
}

TEST_F(Trace, ALineThatWasCutOffIsNotContinued) {
    std::ofstream(m_file) << "first\nsecond, cut o";
    ASSERT_EQ(open(UaTrace::Errors, 3, 1), 0);
    writeNumbers(1, 1);
    EXPECT_THAT(lines(), ElementsAre("first", "second, cut o", EndsWith("number 1")));
}

TEST_F(Trace, AFileThatCannotBeWrittenIsNoFailure) {
    EXPECT_EQ(UaTrace::initTrace(UaTrace::Everything, 10, 1, "/nonexistent/client.log", "Application"), -1);
    EXPECT_FALSE(UaTrace::enabled(UaTrace::Errors));
    writeNumbers(1, 3);
    EXPECT_EQ(UaTrace::initTrace(UaTrace::Everything, 10, 1, "", "Application"), -1);
    EXPECT_EQ(
        UaTrace::initTrace(UaTrace::Everything, 10, 1, UaString(m_directory.path().c_str()), "Application"),
        -1);
    ASSERT_EQ(::mkfifo(m_file.c_str(), 0600), 0);
    EXPECT_EQ(open(UaTrace::Everything), -1);
}

TEST_F(Trace, AFailedReplacementClosesTheOldFile) {
    ASSERT_EQ(open(UaTrace::Errors), 0);
    EXPECT_EQ(UaTrace::initTrace(UaTrace::Errors, 10, 1, "/nonexistent/client.log", "Application"), -1);
    writeNumbers(1, 1);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(Trace, ADirectoryThatVanishesIsNoFailure) {
    const fs::path directory = m_directory.path() / "logs";
    fs::create_directory(directory);
    ASSERT_EQ(
        UaTrace::initTrace(UaTrace::Errors, 2, 2, UaString((directory / "x.log").c_str()), "Application"), 0);
    writeNumbers(1, 1);
    fs::remove_all(directory);
    writeNumbers(2, 5);
    fs::create_directory(directory);
    writeNumbers(6, 6);
    EXPECT_THAT(linesOf(directory / "x.log"), ElementsAre(EndsWith("number 6")));
}

TEST_F(Trace, ReplacingTheTraceChangesFileAndLevel) {
    ASSERT_EQ(open(UaTrace::Errors), 0);
    const fs::path other = m_directory.path() / "other.log";
    ASSERT_EQ(UaTrace::initTrace(UaTrace::Warnings, 10, 1, UaString(other.c_str()), "Application"), 0);
    UaTrace::write(UaTrace::Warnings, "area", "there");
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_THAT(linesOf(other), ElementsAre(EndsWith("there")));
}

TEST_F(Trace, OnlyTheLastUserOfThePlatformClosesIt) {
    UaPlatformLayer::init();
    UaPlatformLayer::init();
    ASSERT_EQ(open(UaTrace::Errors), 0);
    UaTrace::closeTrace();
    EXPECT_TRUE(UaTrace::enabled(UaTrace::Errors));
    UaPlatformLayer::cleanup();
    EXPECT_TRUE(UaTrace::enabled(UaTrace::Errors));
    UaTrace::closeTrace();
    EXPECT_FALSE(UaTrace::enabled(UaTrace::Errors));
    UaPlatformLayer::cleanup();
}

TEST_F(Trace, TheLastCleanupClosesATraceThatWasForgotten) {
    UaPlatformLayer::init();
    ASSERT_EQ(open(UaTrace::Errors), 0);
    UaPlatformLayer::cleanup();
    EXPECT_FALSE(UaTrace::enabled(UaTrace::Errors));
}

TEST_F(Trace, AnExtraCleanupDoesNotMiscountTheUsers) {
    UaPlatformLayer::cleanup();
    EXPECT_EQ(UaPlatformLayer::init(), 0);
    UaPlatformLayer::init();
    ASSERT_EQ(open(UaTrace::Errors), 0);
    UaTrace::closeTrace();
    EXPECT_TRUE(UaTrace::enabled(UaTrace::Errors));
    UaPlatformLayer::cleanup();
    UaPlatformLayer::cleanup();
}

TEST_F(Trace, AKilledProcessLosesNoEntry) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        open(UaTrace::Debugging);
        UaTrace::write(UaTrace::Debugging, "area", "last words");
        ::kill(::getpid(), SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_THAT(lines(), testing::Contains(EndsWith("last words")));
}

/// A limit on the file's size stands for the full disk: the write that crosses it is cut, the next ones fail.
TEST_F(Trace, AFullDiskLosesEntriesAndNothingElse) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = {};
        ::getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit full = {150, limit.rlim_max};
        const bool opened = open(UaTrace::Errors) == 0;
        ::setrlimit(RLIMIT_FSIZE, &full);
        writeNumbers(1, 5);
        ::setrlimit(RLIMIT_FSIZE, &limit);
        writeNumbers(6, 7);
        ::_exit(opened ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    const std::vector<std::string> written = lines();
    ASSERT_THAT(written, SizeIs(testing::Ge(3U)));
    EXPECT_THAT(written.front(), EndsWith("number 1"));
    EXPECT_THAT(written[written.size() - 2], EndsWith("number 6"));
    EXPECT_THAT(written.back(), EndsWith("number 7"));
    // The entry that was cut got a line of its own.
    EXPECT_EQ(written[written.size() - 2].size(), written.back().size());
}

} // namespace
