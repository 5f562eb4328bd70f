#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli_program.h"
#include "lines.h"
#include "loopback_port.h"
#include "support/child_process.h"
#include "support/temporary_directory.h"

using namespace cli_test;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string nowhere = "opc.tcp://127.0.0.1:4840";

const std::vector<std::string> commands{"discover", "browse",  "find",   "read", "write", "snapshot",
                                        "restore",  "monitor", "record", "ping", "info",  "shell"};

} // namespace

TEST(Usage, HelpNamesCommandsAndExitCodes) {
    const CliResult result = run({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "");
    for (const std::string& command : commands)
        EXPECT_THAT(result.output, HasSubstr("  " + command + " "));
    EXPECT_THAT(result.output, HasSubstr("  cert "));
    EXPECT_THAT(result.output, AllOf(HasSubstr("Exit codes"), HasSubstr("OpcUaClient.log")));
}

TEST(Usage, EveryCommandHasHelpWithExamples) {
    for (const std::string& command : commands) {
        const CliResult result = run({command, "--help"});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_THAT(result.output,
                    AllOf(HasSubstr("Examples:\n  opcua-cli " + command + " "), HasSubstr("--json"),
                          HasSubstr("--trace LEVEL"), HasSubstr("URL REQUIRED")));
    }
}

TEST(Usage, HelpIsACommand) {
    EXPECT_EQ(run({"help"}).output, run({"--help"}).output);
    const CliResult result = run({"help", "read"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, run({"read", "--help"}).output);
    EXPECT_EQ(result.error, "");
}

TEST(Usage, HelpFitsTheTerminal) {
    for (const int columns : {40, 72}) {
        for (const char* command : {"", "browse", "monitor", "cert"}) {
            PseudoTerminal terminal(static_cast<unsigned short>(columns));
            runInShell(R"("$0" help $1 >)" + terminal.path(), {command});
            std::size_t longest = 0;
            for (const std::string& line : linesOf(terminal.text())) {
                const bool hasBlank = line.find(' ', line.find_first_not_of(' ')) != std::string::npos;
                longest = std::max(longest, hasBlank ? line.size() - 1 : 0); // a carriage return
            }
            EXPECT_LE(longest, static_cast<std::size_t>(columns)) << command;
            EXPECT_GT(longest, static_cast<std::size_t>(columns / 2)) << command;
        }
    }
}

TEST(Usage, TellsItsVersion) {
    const CliResult result = run({"--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "opcua-cli " OPCUA_CLI_VERSION "\n");
}

TEST(Usage, WrongArgumentsAreExitCode2) {
    const std::vector<std::pair<Arguments, std::string>> cases{
        {{}, "subcommand is required"},
        {{"frobnicate"}, "no command \"frobnicate\""},
        {{"browes", nowhere}, "did you mean 'browse'?"},
        {{"help", "browes"}, "did you mean 'browse'?"},
        {{"read"}, "URL is required"},
        {{"read", nowhere}, "NODE is required"},
        {{"write", nowhere, "i=1"}, "VALUE is required"},
        {{"find", nowhere}, "NAME is required"},
        {{"find", nowhere, "*", "--limit", "0"}, "--limit"},
        {{"compare"}, "OLD is required"},
        {{"browse", nowhere, "--depth", "0"}, "--depth"},
        {{"browse", nowhere, "--depth", "deep"}, "--depth"},
        {{"browse", nowhere, "--max-nodes", "0"}, "--max-nodes"},
        {{"info", nowhere, "--frob"}, "--frob"},
        {{"info", nowhere, "--timeout", "0"}, "--timeout"},
        {{"info", nowhere, "--timeout", "99999999999999999999"}, "--timeout"},
        {{"info", nowhere, "--trace", "loud"}, "--trace"},
        {{"info", ""}, "no host"},
        {{"info", "opc.tcp://"}, "no host"},
        {{"info", "http://localhost:4840"}, "only opc.tcp://"},
        {{"info", std::string(200, 'h') + ":4840"}, "longer than 127 bytes"},
        {{"info", "opc.tcp://127.0.0.1:65536"}, "\"65536\" is no port"},
        {{"discover", "[::1]:4840000000000000"}, "is no port"},
        {{"info", "plant:opc"}, "\"opc\" is no port"},
        {{"info", "plant:-1/path"}, "\"-1\" is no port"},
        {{"read", nowhere, "Line1.Speed"}, "is no node"},
        {{"read", nowhere, "i=1", "/a//b"}, "is empty"},
        {{"read", nowhere, "i=1", "--type", "Decimal"}, "no type is called Decimal"},
        {{"write", nowhere, "i=1", "300", "--type", "Byte"}, "out of range"},
        {{"write", nowhere, "i=1", "-", "i=2", "-"}, "standard input is one value"},
        {{"browse", nowhere, "i=x"}, "is no node"},
        {{"info", nowhere, "--policy", "Basic512"}, "no security policy is called Basic512; there are None"},
        {{"info", nowhere, "--mode", "encrypted"}, "no security mode is called encrypted"},
        {{"info", nowhere, "--trust", "perhaps"}, "--trust"},
        {{"info", nowhere, "--policy", "None", "--mode", "Sign"}, "policy None"},
        {{"info", nowhere, "--password", "plant"}, "without a user"},
        {{"info", nowhere, "--user-cert", "user.der"}, "belong together"},
        {{"info", nowhere, "--user", "operator", "--password", std::string(64, 'p')}, "longer than 63 bytes"},
    };
    for (const auto& [arguments, message] : cases) {
        const CliResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 2) << message;
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.error, AllOf(HasSubstr(message), HasSubstr("opcua-cli: ")));
        EXPECT_THAT(result.error, Not(HasSubstr("\x1b")));
    }
}

TEST(Usage, ArgumentsThatAreNotUtf8AreRefused) {
    for (const Arguments& arguments :
         {Arguments{"read", nowhere, "ns=2;s=F\xFCllstand"}, Arguments{"info", "\xFF\xFE"},
          Arguments{"write", nowhere, "i=1", "\xC3"}}) {
        const CliResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.error, AllOf(HasSubstr("is not UTF-8"), HasSubstr("\uFFFD")));
    }
}

TEST(Usage, WhatIsWrongWithAValueIsInTheJsonDocumentToo) {
    const CliResult result = run({"write", nowhere, "i=1", "300", "--type", "Byte", "--json"});
    EXPECT_EQ(result.exitCode, 2);
    const auto error = result.json()["error"];
    EXPECT_THAT(error["explanation"].get<std::string>(), HasSubstr("out of range"));
    EXPECT_THAT(error["advice"].get<std::string>(), HasSubstr("0 to 255"));
    EXPECT_TRUE(error["code"].is_null());
}

TEST(NoServer, ARefusedPortIsExitCode3) {
    const LoopbackPort port;
    for (const char* command : {"info", "browse"}) {
        const CliResult result = run({command, port.url(), "--json"});
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_THAT(result.error,
                    AllOf(HasSubstr(port.url()), HasSubstr("连接服务器失败"), HasSubstr("try: "),
                          HasSubstr("opcua-cli: nothing listens on port ")));
        const auto error = result.json()["error"];
        EXPECT_EQ(error["code"], 1);
        EXPECT_EQ(error["message"], "连接服务器失败");
    }
}

TEST(NoServer, ProblemsSteerNoTerminalThatReadsBytes) {
    const LoopbackPort port;
    PseudoTerminal terminal(200);
    const std::string call = R"("$0" "$@" 2>)";
    runInShell("LC_ALL=C TERM=xterm " + call + terminal.path(), {"info", port.url()});
    EXPECT_THAT(terminal.text(), AllOf(HasSubstr("library: result 1, ??"), Not(HasSubstr("\x9E"))));
    EXPECT_THAT(runInShell("LC_ALL=C \"$0\" \"$@\"", {"info", port.url()}).error,
                HasSubstr("连接服务器失败"));
}

TEST(NoServer, ASilentServerIsExitCode3AfterTheTimeOut) {
    const LoopbackPort port;
    port.takeConnections();
    const CliResult result = run({"read", port.url(), "i=2261", "--timeout", "200"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.error, AllOf(HasSubstr("127.0.0.1 did not answer in time"), HasSubstr("--timeout")));
}

TEST(NoServer, DiscoveryWithoutServerIsExitCode3) {
    const LoopbackPort port;
    const CliResult result = run({"discover", port.url(), "--json"});
    EXPECT_EQ(result.exitCode, 3);
    const auto error = result.json()["error"];
    EXPECT_EQ(error["code"], 18);
    EXPECT_THAT(error["explanation"].get<std::string>(), HasSubstr("nothing listens on port "));
    EXPECT_TRUE(error["message"].is_null()) << "the library stores none for this code";
}

TEST(NoServer, ANameThatDoesNotResolveIsExitCode3) {
    const CliResult result = run({"info", "no-such-host.invalid:4840", "--timeout", "2000"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.error, AllOf(HasSubstr("opc.tcp://no-such-host.invalid:4840"),
                                    HasSubstr("the name no-such-host.invalid does not resolve")));
}

TEST(Trace, IsShownWithoutSequencesWhereTheCursorCannotBeMoved) {
    const LoopbackPort port;
    const auto shown = [&](const std::string& type) {
        PseudoTerminal terminal(200);
        runInShell("NO_COLOR=1 TERM=" + type + R"( "$0" "$@" 2>)" + terminal.path(),
                   {"info", port.url(), "-v"});
        return terminal.text();
    };
    EXPECT_THAT(shown("dumb"), AllOf(HasSubstr("] LIFECYCLE "), Not(HasSubstr("\x1b"))));
    EXPECT_THAT(shown("xterm"), HasSubstr("\r\x1b[K"));
}

TEST(Trace, IsWrittenBesideTheProgramWhenAskedFor) {
    const LoopbackPort port;
    const test_support::TemporaryDirectory directory;
    const std::filesystem::path copy = directory.path() / "opcua-cli";
    const std::filesystem::path log = directory.path() / "OpcUaClient.log";
    std::filesystem::copy_file(program(), copy);
    const auto traced = [&](const std::string& level) {
        test_support::runProgram(copy, {"info", port.url(), "--trace", level});
        return std::filesystem::exists(log) ? std::filesystem::file_size(log) : 0;
    };
    EXPECT_EQ(traced("none"), 0u);
    EXPECT_EQ(traced("0"), 0u);
    EXPECT_GT(traced("Errors"), 0u);
    EXPECT_GT(traced("7"), 0u);
}
