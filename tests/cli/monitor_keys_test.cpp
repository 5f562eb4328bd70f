#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <functional>
#include <optional>
#include <regex>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "own_program.h"
#include "plant_fixture.h"
#include "support/child_process.h"

using namespace cli_test;
using test_support::ChildProcess;
using testing::AllOf;
using testing::AnyOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::Each;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace {

constexpr std::chrono::seconds limit{60};

const std::string escape = "\x1b";
const std::string down = "\x1b[B";
const std::string pageDown = "\x1b[6~";
const std::string home = "\x1b[H";
const std::string end = "\x1b[F";
const std::string leaveScreen = "\x1b[?1049l";

using Frame = std::vector<std::string>;

/// The last whole drawing in what a terminal got, line by line; nothing when there is none.
Frame lastFrame(const std::string& text) {
    const std::size_t stop = text.rfind("\x1b[J");
    const std::size_t begin = stop == std::string::npos ? stop : text.rfind("\x1b[H", stop);
    Frame frame;
    if (begin == std::string::npos)
        return frame;
    const std::string endOfLine = "\x1b[K";
    for (std::size_t at = begin + 3; at < stop;) {
        const std::size_t lineEnd = std::min(text.find(endOfLine, at), stop);
        frame.push_back(text.substr(at, lineEnd - at));
        at = std::min(text.find_first_not_of("\r\n", lineEnd + endOfLine.size()), stop);
    }
    return frame;
}

std::string selectedLine(const Frame& frame) {
    const auto found =
        std::find_if(frame.begin(), frame.end(), [](const auto& line) { return line[0] == '>'; });
    return found == frame.end() ? "" : *found;
}

bool has(const Frame& frame, const std::string& text) {
    return std::any_of(frame.begin(), frame.end(),
                       [&](const auto& line) { return line.find(text) != std::string::npos; });
}

bool allAreRead(const Frame& frame) {
    return !has(frame, "changed") && !has(frame, "no good value yet");
}

/// The program on a terminal with a keyboard.
class MonitorKeys : public Plant {
protected:
    explicit MonitorKeys(const std::vector<std::string>& options = {}) : Plant(options) {}

    void start(const Arguments& rest, const std::string& environment = "LC_ALL=C.UTF-8",
               const std::string& before = "exec") {
        const std::string script = before + " env TERM=xterm NO_COLOR=1 " + environment + R"( "$0" "$@" <)" +
                                   m_terminal.path() + " >" + m_terminal.path();
        Arguments all{"-c", script, program()};
        const Arguments arguments = call("monitor", rest);
        all.insert(all.end(), arguments.begin(), arguments.end());
        all.insert(all.end(), {"--interval", "100"});
        m_program.emplace("sh", all);
    }

    /// The first drawing that the test accepts.
    Frame await(const std::function<bool(const Frame&)>& accepts) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        std::string text;
        while (std::chrono::steady_clock::now() < deadline) {
            text += m_terminal.awaitText("\x1b[J");
            m_terminal.text();
            const Frame frame = lastFrame(text);
            if (!frame.empty() && accepts(frame))
                return frame;
        }
        throw std::runtime_error(m_program->describe("drew other things only: " + text));
    }
    Frame awaitText(const std::string& wanted) {
        return await([&](const Frame& frame) { return has(frame, wanted); });
    }
    Frame press(const std::string& keys, const std::string& wanted) {
        m_terminal.type(keys);
        return awaitText(wanted);
    }
    std::string select(const std::string& keys, const std::string& name) {
        m_terminal.type(keys);
        return selectedLine(
            await([&](const Frame& frame) { return selectedLine(frame).find(name) != std::string::npos; }));
    }

    int awaitEnd() {
        const auto ended = m_program->wait(limit);
        if (!ended || !ended->exitCode)
            throw std::runtime_error(m_program->describe("did not end as it should"));
        return *ended->exitCode;
    }
    int quit() {
        m_terminal.type("q");
        return awaitEnd();
    }

    PseudoTerminal m_terminal{100};
    std::optional<ChildProcess> m_program;
};

/// A server that monitors one node and no more.
class FewItems : public MonitorKeys {
protected:
    FewItems() : MonitorKeys({"--max-items", "1"}) {}
};

} // namespace

TEST_F(MonitorKeys, ScrollTheTable) {
    start({"/TestRack/Many"});
    awaitText("rows 1-21 of 1200");
    EXPECT_THAT(select("", "Variable0001"), StartsWith(">"));
    select(down + down, "Variable0003");
    const Frame frame = await([](const Frame& drawn) { return has(drawn, "rows 1-21 of 1200"); });
    EXPECT_THAT(frame, SizeIs(24));
    EXPECT_THAT(frame, Contains(HasSubstr("Variable0021")));
    select(pageDown, "Variable0024");
    awaitText("rows 4-24 of 1200");
    select(end, "Variable1200");
    awaitText("rows 1180-1200 of 1200");
    select(home, "Variable0001");
    EXPECT_EQ(quit(), 0);
}

TEST_F(MonitorKeys, FilterByWhatIsTyped) {
    start({"/Plant/Boiler"});
    awaitText("AlarmText");
    const Frame frame = press("/drum/", "filter: drum/_");
    EXPECT_THAT(frame, AllOf(Contains(HasSubstr("Steam drum/Level")), Not(Contains(HasSubstr("AlarmText")))));
    press("\x7f\x7f"
          "x",
          "filter: drux_");
    press("\x15"
          "LEVEL\r",
          "filter: LEVEL  rows 1-");
    EXPECT_THAT(select("", "Level"), HasSubstr("Steam drum/Level"));
    m_terminal.type(escape);
    awaitText("AlarmText");
    press("/nothing of that kind\r", "no rows of 0");
    EXPECT_EQ(quit(), 0);
}

TEST_F(MonitorKeys, Sort) {
    start({"/TestRack/Scalar", rack + "Moving.Counter"});
    const auto firstName = [](const Frame& frame) {
        return frame.at(2).substr(3, frame.at(2).find(' ', 3) - 3);
    };
    await([](const Frame& frame) { return has(frame, "Counter") && has(frame, "Hello"); });
    EXPECT_EQ(firstName(press("s", "sort: name")), "Boolean");
    EXPECT_EQ(firstName(press("s", "sort: value")), "Int64");
    m_terminal.type("s");
    await([&](const Frame& frame) {
        return has(frame, "sort: latest change") && firstName(frame) == "Counter";
    });
    m_terminal.type("s");
    await([&](const Frame& frame) { return !has(frame, "sort: "); });
    EXPECT_EQ(quit(), 0);
}

TEST_F(MonitorKeys, PauseStopsTheScreenAndNothingElse) {
    start({rack + "Moving.Counter"});
    awaitText("▁▂");
    const Frame still = press("p", "paused: ");
    const std::regex manyNew("paused: [0-9]{2} new.*");
    const Frame later = await([&](const Frame& frame) { return std::regex_match(frame.back(), manyNew); });
    EXPECT_EQ(later.at(0), still.at(0)) << "the count stands, too";
    EXPECT_EQ(later.at(2), still.at(2));
    m_terminal.type(" ");
    const Frame again = await([&](const Frame& frame) { return !has(frame, "paused"); });
    EXPECT_NE(again.at(2), still.at(2));
    EXPECT_EQ(quit(), 0);
}

TEST_F(MonitorKeys, WriteTheSelectedValue) {
    start({"/TestRack/Scalar/Int16", "/TestRack/Scalar/Double"});
    awaitText("-2.718282");
    select(down, "Double");
    press("w", "Double = -2.718281828459045");
    press("abc\r", "\"abc\" is no value for a node of type Double");
    press("\x15"
          "17.5\r",
          "write 17.5?");
    m_terminal.type("\r\r");
    EXPECT_EQ(value(rack + "Scalar.Double"), -2.718281828459045) << "only y confirms";
    press("y", "written: Double = 17.5");
    EXPECT_EQ(value(rack + "Scalar.Double"), 17.5);
    await([](const Frame& frame) { return selectedLine(frame).find("17.5") != std::string::npos; });

    press("w", "new value: _");
    press("3" + escape, "nothing was written");
    press("w3\r", "write 3?");
    press("n", "nothing was written");
    EXPECT_EQ(value(rack + "Scalar.Double"), 17.5);
    EXPECT_EQ(quit(), 0);
}

TEST_F(MonitorKeys, TellWhyAValueWasNotWritten) {
    start({rack + "Access.ReadOnly", rack + "Special.LocalizedText"});
    await(allAreRead);
    press("w1\ry", "not written: the value is read-only");
    select(down, "LocalizedText");
    press("w", "cannot be written here");
    EXPECT_EQ(quit(), 0);
}

TEST_F(MonitorKeys, WriteWholeArraysAndElements) {
    start({"/TestRack/Matrix2/Int32"});
    awaitText("3x4 [[0, 1, 2, 3], [4, 5, 6, 7], [8, 9, 10, 11]]");
    press("w[[1,1,1,1],[2,2,2,2],[3,3,3,3]]\r", "write [[1, 1, 1, 1], [2, 2, 2, 2], [3, 3, 3, 3]]?");
    press("y", "written: ");
    awaitText("3x4 [[1, 1, 1, 1], [2, 2, 2, 2], [3, 3, 3, 3]]");
    EXPECT_EQ(quit(), 0);

    start({"/TestRack/Array/Int32", "--index", "4"});
    awaitText("Int32");
    press("w44\ry", "written: ");
    EXPECT_EQ(value(rack + "Array.Int32")[4], 44);
    EXPECT_EQ(quit(), 0);
}

TEST_F(MonitorKeys, AnArrayOfAnotherLengthIsNotWritten) {
    for (const char* length : {"12", "8"}) {
        EXPECT_EQ(cli("write", {rack + "Control.ArrayLength", "10"}).exitCode, 0);
        start({rack + "Changing.Array"});
        await(allAreRead);
        press("w", "new value: ");
        EXPECT_EQ(cli("write", {rack + "Control.ArrayLength", length}).exitCode, 0);
        const nlohmann::json before = value(rack + "Changing.Array");
        press("[9,9,9,9,9,9,9,9,9,9]\ry",
              "not written: the value is [" + std::string(length) + "] by now, no more [10]");
        EXPECT_EQ(value(rack + "Changing.Array"), before);
        EXPECT_EQ(quit(), 0);
    }
}

TEST_F(FewItems, AreNoBoundOnWhatIsWritten) {
    start({"/TestRack/Scalar/Int16", "/TestRack/Scalar/Double"});
    awaitText("cannot be monitored");
    select(down, "Double");
    press("w17.5\ry", "written: Double = 17.5");
    EXPECT_EQ(value(rack + "Scalar.Double"), 17.5);
    EXPECT_EQ(quit(), 1);
}

TEST_F(MonitorKeys, ArraysAreReadWhenTheyChange) {
    start({"/TestRack/Moving/Array", "/TestRack/EmptyArray/Double", "/TestRack/Array/String"});
    const auto line = [](const Frame& frame) { return frame.at(2).substr(0, frame.at(2).find(']')); };
    const Frame first = await(allAreRead);
    EXPECT_THAT(line(first), ContainsRegex(R"(Array +\[[0-9]+(, [0-9]+){9})"));
    EXPECT_THAT(first.at(3), HasSubstr("[]"));
    EXPECT_THAT(first.at(4), HasSubstr(R"(["Element 0", "Element 1", )"));
    await([&](const Frame& frame) { return line(frame) != line(first); });
    m_terminal.resize(40, 24);
    EXPECT_THAT(await([&](const Frame& frame) { return !has(frame, "Type"); }).at(4), HasSubstr("…"));
    EXPECT_EQ(quit(), 0);
}

TEST_F(MonitorKeys, WorkWhileTheServerDoesNotAnswer) {
    start({"/TestRack/Moving/Array", rack + "Scalar.Int32"});
    await(allAreRead);
    select(down, "Int32");
    m_server.freeze();
    EXPECT_THAT(press("w5\ry", "writing: ").at(0), StartsWith("connected"));
    EXPECT_THAT(press("?", "PgUp").at(0), StartsWith("connected"));
    m_terminal.type("x");
    awaitText("Int32");
    press("q", "ending");
    m_server.resume();
    EXPECT_EQ(awaitEnd(), 0);
}

TEST_F(MonitorKeys, QuestionMarkShowsThem) {
    m_terminal.resize(40, 24);
    start({rack + "Moving.Counter"}, "LC_ALL=C");
    const Frame help = press("?", "Home, End");
    EXPECT_THAT(help, Each(SizeIs(testing::Le(40))));
    press("?", "Counter");
    EXPECT_EQ(quit(), 0);
    EXPECT_THAT(m_terminal.text(), HasSubstr("Counter")) << "the last values stay";
    EXPECT_EQ(m_program->standardError(), "");
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(MonitorKeys, TheSizeOfTheTerminalIsFollowed) {
    start({"/TestRack/Many"}, "LC_ALL=C");
    awaitText("rows 1-21 of 1200");
    m_terminal.resize(40, 12);
    const Frame frame = awaitText("rows 1-9 of 1200");
    EXPECT_THAT(frame, AllOf(SizeIs(12), Each(SizeIs(testing::Le(40)))));
    EXPECT_THAT(selectedLine(frame), HasSubstr("Var"));
    EXPECT_EQ(quit(), 0);
}

TEST_F(MonitorKeys, WithoutUtf8TheTableIsAscii) {
    start({"/TestRack/Names", rack + "Moving.Counter"}, "LC_ALL=C");
    awaitText("F?llstand");
    const Frame frame = awaitText("_.");
    for (const std::string& line : frame)
        EXPECT_TRUE(std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c <= '~'; }))
            << line;
    EXPECT_EQ(quit(), 1) << "two ids are too long";
}

TEST_F(MonitorKeys, ValuesDoNotSteerTheTerminal) {
    EXPECT_EQ(cli("write", {rack + "Scalar.String", "a\x1b[31mb"}).exitCode, 0);
    start({rack + "Scalar.String"});
    awaitText(R"("a\x1b[31mb")");
    press("w", R"(= "a\x1b[31mb")");
    press("\x1b[31m\x01"
          "c",
          "new value: c_");
    m_terminal.type(escape);
    awaitText("nothing was written");
    EXPECT_EQ(quit(), 0);
}

TEST_F(MonitorKeys, SignalsLeaveTheTerminalAsItWas) {
    for (const auto& [signal, exitCode] : {std::pair{SIGTERM, 143}, std::pair{SIGHUP, 129}}) {
        start({rack + "Moving.Counter"});
        awaitText("Counter");
        EXPECT_FALSE(m_terminal.echoes());
        m_program->signal(signal);
        EXPECT_EQ(awaitEnd(), exitCode);
        EXPECT_TRUE(m_terminal.echoes());
        EXPECT_THAT(m_terminal.text(), HasSubstr(leaveScreen));
    }
}

TEST_F(MonitorKeys, CtrlCEndsAndCtrlZGivesTheTerminalBack) {
    start({rack + "Moving.Counter"}, "LC_ALL=C.UTF-8", "exec setsid --ctty");
    awaitText("Counter");
    m_terminal.type("\x1a");
    siginfo_t stopped{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(m_program->pid()), &stopped, WSTOPPED), 0);
    EXPECT_TRUE(m_terminal.echoes());
    EXPECT_THAT(m_terminal.text(), HasSubstr(leaveScreen));
    m_program->signal(SIGCONT);
    awaitText("Counter");
    EXPECT_FALSE(m_terminal.echoes());
    press("?", "PgUp");
    m_terminal.type("\x03");
    EXPECT_EQ(awaitEnd(), 130);
    EXPECT_TRUE(m_terminal.echoes());
}

TEST_F(MonitorKeys, ASecondSignalEndsAtOnceAndLeavesTheTerminalAsItWas) {
    start({"/TestRack/Moving/Array"});
    await(allAreRead);
    m_server.freeze();
    m_program->signal(SIGTERM);
    m_program->signal(SIGINT);
    const auto ended = m_program->wait(limit);
    ASSERT_TRUE(ended);
    EXPECT_TRUE(m_terminal.echoes());
    m_server.resume();
}

TEST_F(MonitorKeys, WorkWithoutAConnection) {
    start({rack + "Moving.Counter"});
    awaitText("Counter");
    m_server.kill(SIGKILL);
    await([](const Frame& frame) { return frame.at(0).find("trying again") != std::string::npos; });
    press("w1\ry", "not written: there is no connection");
    EXPECT_EQ(quit(), 0);
    EXPECT_TRUE(m_terminal.echoes());
}

TEST(MonitorWithCertificates, NobodyIsAskedWhileTheTableHasTheKeys) {
    test_support::PlantServer server({"--security"});
    const OwnProgram own;
    PseudoTerminal terminal(100);
    const std::string everywhere = " <" + terminal.path() + " >" + terminal.path() + " 2>" + terminal.path();
    ChildProcess program("sh", {"-c", R"(TERM=xterm exec "$0" "$@")" + everywhere, own.path(), "monitor",
                                server.url(), "/Plant/Line1", "--policy", "Basic256Sha256"});
    terminal.awaitText("Trust it?");
    terminal.type("y\n");
    terminal.awaitText("? keys");
    const std::string port = std::to_string(server.port());
    server.kill(SIGKILL);
    const test_support::ServerProcess another(test_support::PlantServer::program(),
                                              {"--port", port, "--security", "--die-with-parent"});
    terminal.awaitText("is not trusted, and there is no terminal to ask on");
    terminal.type("q");
    const auto ended = program.wait(limit);
    ASSERT_TRUE(ended);
    EXPECT_EQ(ended->exitCode, 0);
    EXPECT_TRUE(terminal.echoes());
}
