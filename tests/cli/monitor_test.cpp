#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <poll.h>
#include <regex>
#include <set>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "plant_fixture.h"
#include "support/child_process.h"

using namespace cli_test;
using nlohmann::json;
using test_support::ChildProcess;
using test_support::ServerProcess;
using testing::AllOf;
using testing::Contains;
using testing::EndsWith;
using testing::Ge;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

constexpr std::chrono::seconds limit{60};

const std::string counter = rack + "Moving.Counter";

class Monitor : public Plant {
protected:
    using Plant::Plant;

    void start(const Arguments& rest) { m_program.emplace(program(), call("monitor", rest)); }
    void startJson(Arguments rest) {
        rest.insert(rest.end(), {"--json", "--interval", "100"});
        start(rest);
    }

    /// The first document that the test accepts.
    json await(const std::function<bool(const json&)>& accepts) {
        for (const auto deadline = std::chrono::steady_clock::now() + limit;;) {
            json document = json::parse(m_program->waitForLine(limit));
            if (accepts(document))
                return document;
            if (std::chrono::steady_clock::now() > deadline)
                throw std::runtime_error(m_program->describe("wrote other documents only"));
        }
    }
    json awaitEvent(const std::string& name) {
        return await([&](const json& document) { return document["event"] == name; });
    }
    json awaitValue(const std::string& nodeId) {
        return await([&](const json& document) {
            return document["event"] == "value" && document["nodeId"] == nodeId;
        });
    }
    /// The first values of so many nodes.
    std::map<std::string, json> awaitNodes(std::size_t count) {
        std::map<std::string, json> values;
        await([&](const json& document) {
            if (document["event"] == "value")
                values.emplace(document["nodeId"], document);
            return values.size() == count;
        });
        return values;
    }

    int endBy(int signal) {
        m_program->signal(signal);
        return awaitEnd();
    }
    int awaitEnd() {
        const auto end = m_program->wait(limit);
        if (!end || !end->exitCode)
            throw std::runtime_error(m_program->describe("did not end as it should"));
        return *end->exitCode;
    }

    std::optional<ChildProcess> m_program;
};

/// A server that takes fewer items in one request than the library sends.
class StrictMonitor : public Monitor {
protected:
    StrictMonitor() : Monitor({"--max-nodes-per-monitor", "7"}) {}
};

class TaggedMonitor : public Monitor {
protected:
    TaggedMonitor() : Monitor({"--tags", "2"}) {}
};

/// The program on a terminal.
class MonitorOnTerminal : public Monitor {
protected:
    void startOnTerminal(const std::string& environment, const Arguments& rest) {
        Arguments all{"-c", "exec env " + environment + R"( "$0" "$@" >)" + m_terminal.path(), program()};
        const Arguments arguments = call("monitor", rest);
        all.insert(all.end(), arguments.begin(), arguments.end());
        m_program.emplace("sh", all);
    }

    PseudoTerminal m_terminal{100};
};

/// The program, ended after a minute.
pid_t startWithOutput(int output, const Arguments& arguments) {
    std::vector<std::string> words{"timeout", "60", program()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t started = -1;
    const int error = posix_spawnp(&started, "timeout", &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "cannot start the program");
    return started;
}

std::string nextText(int descriptor) {
    constexpr int limitMilliseconds = 60000;
    pollfd watched{descriptor, POLLIN, 0};
    std::array<char, 1024> text{};
    const bool came = poll(&watched, 1, limitMilliseconds) == 1;
    const ssize_t size = came ? read(descriptor, text.data(), text.size()) : 0;
    return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

int exitCodeOf(pid_t started) {
    int status = 0;
    while (waitpid(started, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

const std::string enterScreen = "\x1b[?1049h";
const std::string leaveScreen = "\x1b[?1049l";

} // namespace

TEST_F(Monitor, WritesALineForEveryChange) {
    start({counter, "--interval", "100"});
    const std::regex form(R"((\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z)\t([^\t]*)\t(\d+)\tGood)");
    unsigned last = 0;
    for (int i = 0; i < 4; ++i) {
        const std::string line = m_program->waitForLine(limit);
        std::smatch fields;
        ASSERT_TRUE(std::regex_match(line, fields, form)) << line;
        EXPECT_EQ(fields[2], counter);
        const auto value = static_cast<unsigned>(std::stoul(fields[3]));
        EXPECT_GT(value, last);
        last = value;
    }
    EXPECT_EQ(endBy(SIGINT), 130);
}

TEST_F(Monitor, CsvHasAHeadingAndALineForEveryChange) {
    start({counter, "/TestRack/Moving/Array", "--index", "3", "--csv", "--interval", "100"});
    EXPECT_EQ(m_program->waitForLine(limit), "time,node,index,name,type,value,status");
    EXPECT_THAT(m_program->waitForLine(limit),
                testing::MatchesRegex("[-0-9]+T[0-9:.]+Z," + rack +
                                      R"(Moving\.Array,\[3\],Array,Int32,[0-9]+,Good)"));
    EXPECT_EQ(endBy(SIGINT), 130);
    start({"/TestRack/Text/NonAscii", "/TestRack/Array/Int32", "i=2258", "--csv", "--interval", "100"});
    std::string lines;
    for (int i = 0; i < 4; ++i)
        lines += m_program->waitForLine(limit) + "\n";
    EXPECT_THAT(lines, AllOf(HasSubstr(rack + "Text.NonAscii,,NonAscii,String,Füllstand 锅炉 °C €,Good\n"),
                             HasSubstr(rack + "Array.Int32,,Int32,Int32[10],,Good\n"),
                             HasSubstr(",i=2258,,CurrentTime,other,20")));
    EXPECT_EQ(endBy(SIGINT), 130);
}

TEST_F(Monitor, JsonHasTheValuesOfAllTypes) {
    startJson({"/TestRack/Scalar"});
    const auto values = awaitNodes(12);
    const auto valueOf = [&](const std::string& type) {
        const json& document = values.at(rack + "Scalar." + type);
        EXPECT_EQ(document["type"], type);
        EXPECT_EQ(document["name"], type);
        EXPECT_EQ(document["status"], "Good");
        EXPECT_TRUE(document["index"].is_null());
        return document["value"];
    };
    EXPECT_EQ(valueOf("Boolean"), true);
    EXPECT_EQ(valueOf("SByte"), -12);
    EXPECT_EQ(valueOf("Byte"), 200);
    EXPECT_EQ(valueOf("Int16"), -1234);
    EXPECT_EQ(valueOf("UInt16"), 54321);
    EXPECT_EQ(valueOf("Int32"), -123456789);
    EXPECT_EQ(valueOf("UInt32"), 4000000000);
    EXPECT_EQ(valueOf("Int64"), -9000000000000000000);
    EXPECT_EQ(valueOf("UInt64"), 18000000000000000000u);
    EXPECT_EQ(valueOf("Float"), 3.25);
    EXPECT_EQ(valueOf("Double"), -2.718281828459045);
    EXPECT_EQ(valueOf("String"), "Hello");
    EXPECT_EQ(endBy(SIGINT), 130);
}

TEST_F(Monitor, ShowsWhatAnotherClientWrites) {
    startJson({rack + "Scalar.Double"});
    awaitValue(rack + "Scalar.Double");
    EXPECT_EQ(cli("write", {rack + "Scalar.Double", "17.5"}).exitCode, 0);
    EXPECT_EQ(awaitValue(rack + "Scalar.Double")["value"], 17.5);
    EXPECT_EQ(endBy(SIGINT), 130);
}

TEST_F(Monitor, ReadsWhatTheLibraryDoesNotDeliver) {
    startJson({rack + "Special.LocalizedText", "i=2258", rack + "Text.Chinese300"});
    const auto values = awaitNodes(3);
    const json& text = values.at(rack + "Special.LocalizedText");
    EXPECT_TRUE(text["type"].is_null());
    EXPECT_FALSE(text["value"].get<std::string>().empty());
    EXPECT_THAT(values.at("i=2258")["value"].get<std::string>(), StartsWith("20"));
    EXPECT_EQ(values.at(rack + "Text.Chinese300")["value"], value(rack + "Text.Chinese300"));
    EXPECT_EQ(endBy(SIGINT), 130);
}

TEST_F(Monitor, AFolderStandsForTheVariablesBelowIt) {
    for (const char* folder : {"/Plant/Boiler", "ns=2;s=Boiler"}) {
        startJson({folder});
        const auto values = awaitNodes(11);
        EXPECT_EQ(values.at("ns=2;s=Boiler.Drum.Level")["name"], "Steam drum/Level") << folder;
        EXPECT_EQ(values.count("ns=2;s=Boiler.AlarmText"), 1u) << folder;
        EXPECT_EQ(endBy(SIGINT), 130);
    }
    startJson({"/Plant/Boiler", "--depth", "1", "--duration", "1"});
    EXPECT_EQ(awaitEnd(), 0);
    EXPECT_THAT(m_program->standardOutput(), Not(HasSubstr("Boiler.Drum")));
}

TEST_F(Monitor, ArgumentsOfMethodsAreNoVariablesOfAFolder) {
    startJson({"/TestRack/Methods"});
    EXPECT_EQ(awaitEnd(), 1);
    EXPECT_THAT(m_program->standardError(), HasSubstr("no variable below"));
}

TEST_F(Monitor, SaysWhatAFolderHoldsAndIsNotFollowed) {
    const CliResult result = cli("monitor", {"/TestRack/Names", "--duration", "1", "--csv"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.output, AllOf(HasSubstr("Names.Füllstand"), Not(HasSubstr("NodeId256"))));
    EXPECT_THAT(result.error,
                HasSubstr("/TestRack/Names: NodeId256: the id of this node is too long for this program "
                          "(and 1 more like it)"));
    EXPECT_EQ(cli("monitor", {"/TestRack/Names", "--duration", "1", "--index", "0"}).exitCode, 1);
}

TEST_F(Monitor, FollowsElements) {
    startJson({rack + "Moving.Array", "/TestRack/Array/Int32", "/TestRack/Array", "--index", "3"});
    json first;
    std::set<std::string> ids;
    const json second = await([&](const json& document) {
        EXPECT_EQ(document["index"], json({3}));
        ids.insert(document["nodeId"]);
        if (document["nodeId"] != rack + "Moving.Array")
            return false;
        if (first.is_null())
            first = document["value"];
        return document["value"] != first && ids.size() == 13;
    });
    EXPECT_EQ(second["type"], "Int32");
    EXPECT_EQ(endBy(SIGINT), 130);

    start({"/TestRack/Matrix2/Int32", "--index", "1,2", "--interval", "100"});
    EXPECT_THAT(m_program->waitForLine(limit), EndsWith("\t" + rack + "Matrix2.Int32[1][2]\t6\tGood"));
    EXPECT_EQ(endBy(SIGINT), 130);
}

/// What the library's message then holds is of another change.
TEST_F(Monitor, ReadsElementsThatTheLibraryDoesNotDeliver) {
    const std::string times = rack + "Special.DateTimeArray";
    startJson({rack + "Array.Double", times, "--index", "1"});
    const auto values = awaitNodes(2);
    EXPECT_EQ(values.at(rack + "Array.Double")["type"], "Double");
    EXPECT_TRUE(values.at(times)["type"].is_null());
    EXPECT_EQ(values.at(times)["value"],
              cli("read", {times, "--index", "1", "--json"}).json()["nodes"][0]["value"]);
    EXPECT_EQ(endBy(SIGINT), 130);
}

TEST_F(Monitor, RefusesElementsThatAreNotThere) {
    const std::vector<std::pair<Arguments, std::string>> cases{
        {{"/TestRack/Array/Int32", "--index", "10"}, "no element [10]"},
        {{"/TestRack/Matrix2/Int32", "--index", "2"}, "dimension"},
        {{"/TestRack/Matrix2/Int32", "--index", "0,4"}, "no element [0][4]"},
        {{"/TestRack/Scalar/Int32", "--index", "0"}, "no element [0]"},
        {{"/TestRack/Scalar", "--index", "0"}, "nothing below this node has an element [0]"},
    };
    for (const auto& [arguments, message] : cases) {
        const CliResult result = cli("monitor", arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.error, HasSubstr(message));
        EXPECT_EQ(result.output, "");
    }
    EXPECT_EQ(cli("monitor", {"/TestRack/Array/Int32", "--index", "x"}).exitCode, 2);
}

TEST_F(Monitor, WholeArraysAreToldToHaveChanged) {
    start({"/TestRack/Moving/Array", "--interval", "100"});
    for (int i = 0; i < 2; ++i)
        EXPECT_THAT(m_program->waitForLine(limit), EndsWith("\t(Int32[10])\tGood"));
    EXPECT_EQ(endBy(SIGINT), 130);
    startJson({"/TestRack/Moving/Array"});
    EXPECT_TRUE(awaitValue(rack + "Moving.Array")["value"].is_null());
    EXPECT_EQ(endBy(SIGINT), 130);
}

TEST_F(Monitor, EndsWhenItsTimeIsOver) {
    const CliResult result = cli("monitor", {counter, "--duration", "1"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(Monitor, GoesOnBesidesNodesThatCannotBeMonitored) {
    startJson({"ns=2;s=Nowhere", counter, "/Plant/Nowhere", rack + "Access.Denied"});
    EXPECT_THAT(awaitEvent("leftOut")["error"]["explanation"].get<std::string>(),
                HasSubstr("no \"Nowhere\" below Plant"));
    const json refused = awaitEvent("refused");
    EXPECT_EQ(refused["nodeId"], "ns=2;s=Nowhere");
    EXPECT_EQ(refused["error"]["code"], 12);
    for (int i = 0; i < 3; ++i)
        awaitValue(counter);
    EXPECT_EQ(endBy(SIGINT), 130);
    EXPECT_THAT(m_program->standardError(), AllOf(HasSubstr("ns=2;s=Nowhere: "), HasSubstr("try: ")));

    EXPECT_EQ(cli("monitor", {"ns=2;s=Nowhere", counter, "--duration", "0.5"}).exitCode, 1);
    const CliResult none = cli("monitor", {"ns=2;s=Nowhere", "/Plant/Nowhere", "--json"});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_THAT(none.output, AllOf(HasSubstr(R"("event":"leftOut")"), HasSubstr(R"("event":"refused")")));
}

TEST_F(StrictMonitor, AsksForAsManyItemsAsTheServerTakes) {
    Arguments nodes;
    for (int i = 100; i < 145; ++i)
        nodes.push_back(rack + "Many.Variable0" + std::to_string(i));
    startJson(nodes);
    EXPECT_EQ(awaitNodes(nodes.size()).size(), nodes.size());
    EXPECT_EQ(endBy(SIGINT), 130);
}

TEST_F(Monitor, NamesNodesOfWhichNothingComes) {
    startJson({rack + "Status.Bad", rack + "Status.Uncertain", counter});
    EXPECT_THAT(awaitEvent("silent")["nodeIds"],
                UnorderedElementsAre(rack + "Status.Bad", rack + "Status.Uncertain"));
    EXPECT_EQ(endBy(SIGINT), 130);
    EXPECT_THAT(m_program->standardError(), HasSubstr("no value yet"));
}

TEST_F(Monitor, GoesOnAfterTheServerCameBack) {
    startJson({counter, "/Plant/Line1"});
    awaitValue(counter);
    const std::string port = std::to_string(m_server.port());
    m_server.kill(SIGKILL);
    EXPECT_GT(awaitEvent("lost")["seconds"], 0);
    const double pause = awaitEvent("noAnswer")["seconds"];
    EXPECT_GT(awaitEvent("noAnswer")["seconds"].get<double>(), pause);

    const ServerProcess again(test_support::PlantServer::program(), {"--port", port, "--die-with-parent"});
    awaitEvent("connected");
    awaitValue(counter);
    awaitValue("ns=2;s=Line1.MotorTorque");
    EXPECT_EQ(endBy(SIGINT), 130);
    EXPECT_THAT(m_program->standardError(),
                AllOf(HasSubstr("lost; trying again in 0.5 s"), HasSubstr("trying again in 1.0 s"),
                      HasSubstr("connected again after")));
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(TaggedMonitor, WaitsForAServerThatHasNotLoadedItsNodes) {
    const std::string tag = "ns=2;s=Tags.Tag00001";
    startJson({tag});
    awaitValue(tag);
    const std::string port = std::to_string(m_server.port());
    m_server.kill(SIGKILL);
    awaitEvent("lost");
    {
        const ServerProcess empty(test_support::PlantServer::program(),
                                  {"--port", port, "--die-with-parent"});
        await([](const json& document) {
            return document["event"] == "noAnswer" &&
                   document["message"].get<std::string>().find("none of the nodes") != std::string::npos;
        });
    }
    const ServerProcess loaded(test_support::PlantServer::program(),
                               {"--port", port, "--die-with-parent", "--tags", "2"});
    awaitEvent("connected");
    awaitValue(tag);
    EXPECT_EQ(endBy(SIGINT), 130);
}

TEST_F(Monitor, KeepsItsSessionInAnOutage) {
    startJson({counter});
    awaitValue(counter);
    m_server.freeze();
    awaitEvent("outage");
    m_server.resume();
    EXPECT_GT(awaitEvent("outageOver")["seconds"], 0);
    awaitValue(counter);
    EXPECT_EQ(endBy(SIGINT), 130);
    EXPECT_THAT(m_program->standardError(), AllOf(HasSubstr("answers again"), Not(HasSubstr("lost"))));
}

TEST_F(Monitor, WithoutAConnectionInTheEndItIsExitCode3) {
    startJson({counter, "--duration", "5"});
    awaitValue(counter);
    m_server.kill(SIGKILL);
    EXPECT_EQ(awaitEnd(), 3);
    EXPECT_THAT(m_program->standardOutput(), HasSubstr("{\"error\":{"));
}

TEST_F(Monitor, TellsThatTheServerShutsDown) {
    startJson({counter});
    awaitValue(counter);
    EXPECT_EQ(cli("write", {rack + "Control.ShutDown", "60"}).exitCode, 0);
    awaitEvent("shuttingDown");
    awaitValue(counter);
    EXPECT_EQ(endBy(SIGINT), 130);
}

TEST_F(Monitor, SignalsLeaveNoSession) {
    const std::map<int, int> exitCodes{{SIGINT, 130}, {SIGTERM, 143}, {SIGHUP, 129}};
    for (const auto& [signal, exitCode] : exitCodes) {
        start({counter, "--interval", "100"});
        m_program->waitForLine(limit);
        EXPECT_EQ(value(rack + "Diagnostics.CurrentSubscriptions"), 1);
        EXPECT_EQ(endBy(signal), exitCode);
        EXPECT_EQ(sessions(), 1u);
        EXPECT_EQ(value(rack + "Diagnostics.CurrentSubscriptions"), 0);
        EXPECT_EQ(value(rack + "Diagnostics.MonitoredItems"), 0);
    }
}

TEST_F(Monitor, EndsWhenItsReaderLeaves) {
    // The value never changes: only the pipe tells that nobody reads any more.
    const CliResult result = runInShell(R"({ "$0" "$@"; echo "exit $?" >&2; } | head -n 1)",
                                        call("monitor", {rack + "Scalar.Int32", "--interval", "100"}));
    EXPECT_THAT(result.output, HasSubstr("\t-123456789\tGood"));
    EXPECT_EQ(result.error, "exit 141\n");
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(Monitor, EndsWhenTheReaderOfItsSocketLeaves) {
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    test_support::Descriptor reader(ends[0]);
    test_support::Descriptor output(ends[1]);
    // A value that never changes again.
    const pid_t started = startWithOutput(output.get(), call("monitor", {rack + "Scalar.Int32"}));
    output.reset();
    EXPECT_THAT(nextText(reader.get()), HasSubstr("-123456789"));
    reader.reset();
    EXPECT_EQ(exitCodeOf(started), 141);
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(Monitor, WithoutAServerItIsExitCode3) {
    m_server.stop();
    const CliResult result = cli("monitor", {counter, "--json"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(result.json().contains("error"));
    EXPECT_THAT(result.output, EndsWith("}}\n")) << "one line";
}

TEST_F(MonitorOnTerminal, DrawsALiveTable) {
    startOnTerminal("TERM=xterm NO_COLOR= LC_ALL=C.UTF-8", {counter, "/Plant/Line1", "--interval", "100"});
    const std::string live = m_terminal.awaitText("▁▂");
    EXPECT_THAT(live, AllOf(StartsWith(enterScreen), HasSubstr("\x1b[1mTrend\x1b[0m"), HasSubstr("Counter"),
                            HasSubstr("SpeedSetpoint"), HasSubstr("Double"), HasSubstr("connected"),
                            HasSubstr(m_server.url()), Not(HasSubstr(leaveScreen))));
    EXPECT_EQ(endBy(SIGINT), 130);
    const std::string rest = m_terminal.text();
    const std::size_t left = rest.find(leaveScreen);
    ASSERT_NE(left, std::string::npos);
    EXPECT_THAT(rest.substr(0, left), HasSubstr("\x1b[?25h"));
    EXPECT_THAT(rest.substr(left), AllOf(HasSubstr("Counter"), Not(HasSubstr("\x1b[H"))))
        << "the last values stay";
    EXPECT_THAT(m_program->standardError(), HasSubstr("interrupted"));
}

TEST_F(MonitorOnTerminal, NoFrameHasMoreLinesThanTheTerminal) {
    startOnTerminal("TERM=xterm", {"/TestRack/Many", "--interval", "100"});
    const std::string text = m_terminal.awaitText("more nodes");
    const std::size_t begin = text.rfind("\x1b[H");
    const std::string frame = text.substr(begin);
    EXPECT_LT(std::count(frame.begin(), frame.end(), '\n'), 24);
    EXPECT_EQ(endBy(SIGTERM), 143);
}

TEST_F(MonitorOnTerminal, ShowsThatTheServerIsGone) {
    startOnTerminal("TERM=xterm NO_COLOR=", {counter, "--interval", "100"});
    m_terminal.awaitText("UInt32");
    m_server.kill(SIGKILL);
    m_terminal.awaitText("\x1b[31mthe connection to the server is lost; trying again in");
    EXPECT_EQ(endBy(SIGINT), 130);
}

TEST_F(MonitorOnTerminal, CtrlZGivesTheScreenBack) {
    startOnTerminal("TERM=xterm", {counter, "--interval", "100"});
    m_terminal.awaitText("UInt32");
    m_terminal.text();
    m_program->signal(SIGTSTP);
    m_terminal.awaitText(leaveScreen);
    m_terminal.text();
    siginfo_t stopped{}; // the screen is given back first
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(m_program->pid()), &stopped, WSTOPPED), 0);
    m_program->signal(SIGCONT);
    EXPECT_THAT(m_terminal.awaitText("UInt32"), HasSubstr(enterScreen));
    EXPECT_EQ(endBy(SIGINT), 130);
}

TEST_F(MonitorOnTerminal, WritesLinesWhereNothingCanBeRedrawn) {
    startOnTerminal("TERM=dumb", {counter, "--interval", "100"});
    EXPECT_THAT(m_terminal.awaitText("Good"), Not(HasSubstr("\x1b")));
    EXPECT_EQ(endBy(SIGINT), 130);
}
