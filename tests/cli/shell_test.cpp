#include <chrono>
#include <csignal>
#include <fstream>
#include <istream>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "plant_fixture.h"
#include "support/child_process.h"
#include "support/temporary_directory.h"

using namespace cli_test;
using nlohmann::json;
using test_support::ChildProcess;
using test_support::ServerProcess;
using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr std::chrono::seconds limit{60};

class Shell : public Plant {
protected:
    /// The lines come by a pipe.
    CliResult shell(const std::string& lines, const Arguments& options = {}) const {
        const std::string script = (m_directory.path() / "lines").string();
        std::ofstream(script) << lines;
        return runInShell("cat '" + script + "' | \"$0\" \"$@\"", call("shell", options));
    }
    std::vector<json> documents(const std::string& lines) const {
        const CliResult result = shell(lines, {"--json"});
        EXPECT_EQ(result.exitCode, 0) << result.error;
        std::vector<json> all;
        std::istringstream stream(result.output);
        for (json document; stream >> std::ws && !stream.eof();) {
            stream >> document;
            all.push_back(document);
        }
        return all;
    }
    int awaitEnd(ChildProcess& program) const {
        const auto end = program.wait(limit);
        if (!end || !end->exitCode)
            throw std::runtime_error(program.describe("did not end as it should"));
        return *end->exitCode;
    }

    test_support::TemporaryDirectory m_directory;
};

/// The program on a terminal, where somebody types.
class ShellOnTerminal : public Shell {
protected:
    ShellOnTerminal()
        : m_program("sh", {"-c",
                           R"(exec env TERM=xterm "$0" "$@" <)" + m_terminal.path() + " >" +
                               m_terminal.path() + " 2>" + m_terminal.path(),
                           program(), "shell", m_server.url()}) {
        m_terminal.awaitText("/> ");
    }
    /// Everything until the text, which is taken.
    std::string answer(const std::string& keys, const std::string& wanted) {
        m_terminal.text();
        m_terminal.type(keys);
        return m_terminal.awaitText(wanted);
    }

    void interrupt() {
        m_terminal.text();
        m_program.signal(SIGINT);
        m_terminal.awaitText("/> ");
    }

    PseudoTerminal m_terminal{200};
    ChildProcess m_program;
};

} // namespace

TEST_F(Shell, RunsManyCommandsInOneSession) {
    const std::string sessionsNode = rack + "Diagnostics.CreatedSessions";
    const auto found =
        documents("read i=2261\n\n# a remark\nread '" + sessionsNode + "'\nwrite " + rack +
                  "Scalar.Double 17.5\nread /TestRack/Scalar/Double '" + sessionsNode + "'\ninfo\n");
    ASSERT_EQ(found.size(), 5u);
    EXPECT_EQ(found[0]["nodes"][0]["value"], "Plant server");
    EXPECT_EQ(found[0]["url"], m_server.url());
    EXPECT_EQ(found[1]["nodes"][0]["value"], 1) << "the first one";
    EXPECT_EQ(found[2]["ok"], true);
    EXPECT_EQ(found[3]["nodes"][0]["value"], 17.5);
    EXPECT_EQ(found[3]["nodes"][1]["value"], 1);
    EXPECT_EQ(found[4]["connected"], true);
    EXPECT_GT(found[4]["server"]["namespaceCount"], 2);
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(Shell, NamesStartAtThePosition) {
    const auto found =
        documents("cd TestRack/Scalar\nread Int32 ../Matrix2/Int32\ncd ../Array/\nread Int32 --index 3\n"
                  "write ../Scalar/Int32 7 ../Scalar/String Boolean\nread /TestRack/Scalar/Int32\nstatus\n"
                  "browse\nbrowse ..\ncd\nstatus\nread TestRack/Scalar/String");
    ASSERT_EQ(found.size(), 9u);
    EXPECT_EQ(found[0]["nodes"][0]["value"], -123456789);
    EXPECT_EQ(found[0]["nodes"][1]["nodeId"], rack + "Matrix2.Int32");
    EXPECT_EQ(found[1]["nodes"][0]["nodeId"], rack + "Array.Int32");
    EXPECT_EQ(found[3]["nodes"][0]["value"], 7);
    EXPECT_EQ(found[4]["position"], "/TestRack/Array");
    EXPECT_EQ(found[5]["start"], rack + "Array");
    EXPECT_EQ(found[6]["start"], rack.substr(0, rack.size() - 1));
    EXPECT_EQ(found[7]["position"], "/0:Objects");
    EXPECT_EQ(found[8]["nodes"][0]["value"], "Boolean") << "a value is no node";
}

TEST_F(Shell, FindsBelowThePosition) {
    const auto found =
        documents("cd TestRack/Scalar\nfind Int32\nfind Int32 --from ../Array\ncd\nfind 'Int3?'\n");
    ASSERT_EQ(found.size(), 3u);
    ASSERT_EQ(found[0]["nodes"].size(), 1u);
    EXPECT_EQ(found[0]["nodes"][0]["nodeId"], rack + "Scalar.Int32");
    ASSERT_EQ(found[1]["nodes"].size(), 1u);
    EXPECT_EQ(found[1]["nodes"][0]["nodeId"], rack + "Array.Int32");
    EXPECT_GT(found[2]["nodes"].size(), 2u);
    EXPECT_EQ(found[2]["from"], "i=85");
}

TEST_F(Shell, FoldersMayBeNamedByTheirIdsAgainAndAgain) {
    const auto found = documents("browse ns=2\\;s=Line1\nbrowse 'ns=2;s=Boiler'\nsnapshot 'ns=2;s=Line1'\n"
                                 "browse i=84\nbrowse /Plant/Line1\n");
    ASSERT_EQ(found.size(), 5u);
    EXPECT_EQ(found[0]["start"], "ns=2;s=Line1");
    EXPECT_EQ(found[1]["start"], "ns=2;s=Boiler");
    EXPECT_GT(found[1]["nodes"].size(), 2u);
    EXPECT_EQ(found[2]["folderId"], "ns=2;s=Line1");
    EXPECT_GT(found[2]["nodes"].size(), 2u);
    EXPECT_EQ(found[3]["start"], "i=84");
    EXPECT_EQ(found[4]["nodes"].size(), found[0]["nodes"].size());
}

TEST_F(Shell, GoesOnAfterAFailureUnlessItIsStrict) {
    const std::string lines = "read i=2261\nread /Nowhere\nwrite i=2261\nfly\nread 'open\nread i=2264\n";
    const CliResult patient = shell(lines);
    EXPECT_EQ(patient.exitCode, 1) << "that of the first";
    EXPECT_THAT(patient.output, AllOf(HasSubstr("Plant server"), HasSubstr("i=2264")));
    EXPECT_THAT(patient.error, AllOf(HasSubstr("no \"Nowhere\" below"), HasSubstr("VALUE is required"),
                                     HasSubstr("no command of the shell is called fly"),
                                     HasSubstr("a quote is not closed")));
    const CliResult strict = shell(lines, {"--strict"});
    EXPECT_EQ(strict.exitCode, 1);
    EXPECT_THAT(strict.output, AllOf(HasSubstr("Plant server"), Not(HasSubstr("i=2264"))));
    EXPECT_THAT(strict.error, AllOf(HasSubstr("ended at line 2"), Not(HasSubstr("fly"))));
    EXPECT_EQ(shell("fly\nread i=2261\n", {"--strict"}).exitCode, 2);
    EXPECT_EQ(shell("read i=2261\nquit\nfly\n", {"--strict"}).exitCode, 0);
}

TEST_F(Shell, ItsOwnLinesAreNoValues) {
    for (const std::string& command : {"write " + rack + "Scalar.String -", std::string("write --from -"),
                                       std::string("read --from -"), std::string("restore -")}) {
        const CliResult result = shell(command + "\nread i=2261\n");
        EXPECT_EQ(result.exitCode, 2) << command;
        EXPECT_THAT(result.output, HasSubstr("Plant server"));
        EXPECT_THAT(result.error, HasSubstr("standard input holds the shell's own lines"));
    }
}

TEST_F(Shell, HelpsWithItsCommands) {
    const CliResult result = shell("help\nhelp read\nread --help\n");
    EXPECT_EQ(result.exitCode, 0) << result.error;
    for (const char* command : {"browse ", "cd ", "info ", "quit ", "snapshot ", "status ", "write "})
        EXPECT_THAT(result.output, HasSubstr(command));
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("--index"), Not(HasSubstr("URL")), Not(HasSubstr("--policy"))));
    EXPECT_EQ(shell("read i=2261 --policy None\n").exitCode, 2) << "the connection is the shell's";
}

TEST_F(Shell, WithoutAServerItIsExitCode3) {
    m_server.stop();
    const CliResult result = shell("help\n", {"--json"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(result.json().contains("error"));
}

TEST_F(Shell, ConnectsAgainAndSaysSo) {
    const std::string pipe = (m_directory.path() / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    ChildProcess running("sh", {"-c", R"(exec "$0" "$@" <)" + pipe, program(), "shell", m_server.url()});
    std::ofstream keys(pipe);
    const auto await = [&](const std::string& command, const std::string& wanted) {
        keys << command << std::endl;
        while (running.waitForLine(limit).find(wanted) == std::string::npos) {
        }
    };
    await("cd /Plant/Line1\nread i=2261", "Plant server");
    const std::string port = std::to_string(m_server.port());
    m_server.kill(SIGKILL);
    await("read Speed\nhelp", "status");
    EXPECT_THAT(running.standardError(), AnyOf(HasSubstr("the connection to the server was lost"),
                                               HasSubstr("the server has closed the connection")));

    const ServerProcess again(test_support::PlantServer::program(), {"--port", port, "--die-with-parent"});
    await("read i=2261", "Plant server");
    await("status", "/Plant/Line1");
    EXPECT_THAT(running.standardError(), HasSubstr("was lost; connecting again"));
    keys.close();
    EXPECT_EQ(awaitEnd(running), 3) << "of the command that failed";
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(ShellOnTerminal, CompletesCommandsAndNodes) {
    answer("rea\t", "d ");
    answer("/Pl\t", "ant/");
    answer("Lin\t", "e");
    answer("1\t", "/");
    EXPECT_THAT(answer("\t", "SpeedSetpoint"), HasSubstr("MotorTorque"));
    answer("SpeedS\t", "etpoint ");
    EXPECT_THAT(answer("\r", "/> "), HasSubstr("/Plant/Line1/SpeedSetpoint  SpeedSetpoint  Double"));
    answer("cd /Plant/Line1\r", "/Plant/Line1> ");
    answer("read MotorT\t", "orque ");
    answer("\r", "/Plant/Line1> ");
    m_terminal.type("\x04");
    EXPECT_EQ(awaitEnd(m_program), 0);
}

TEST_F(ShellOnTerminal, KeepsAHistory) {
    answer("read i=2261\r", "\"Plant server\"");
    m_terminal.awaitText("/> ");
    answer("fly\r", "no command of the shell");
    m_terminal.awaitText("/> ");
    answer("\x1b[A\x1b[A\r", "\"Plant server\"");
    m_terminal.type("quit\r");
    EXPECT_EQ(awaitEnd(m_program), 0);
}

TEST_F(ShellOnTerminal, CtrlCEndsTheLineAlone) {
    answer("fly a", "fly a");
    interrupt();
    EXPECT_THAT(answer("read i=2261\r", "/> "), AllOf(HasSubstr("\"Plant server\""), Not(HasSubstr("fly"))));
    interrupt();
    answer("status\r", "connected, without security");
    m_program.signal(SIGTERM);
    EXPECT_EQ(awaitEnd(m_program), 143);
    EXPECT_EQ(sessions(), 1u);
}
