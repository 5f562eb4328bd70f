#include <chrono>
#include <csignal>
#include <optional>
#include <regex>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>

#include "plant_fixture.h"
#include "support/child_process.h"

using namespace cli_test;
using nlohmann::json;
using test_support::ChildProcess;
using test_support::ServerProcess;
using testing::HasSubstr;

namespace {

constexpr std::chrono::seconds limit{60};

class Ping : public Plant {
protected:
    void start(Arguments rest = {}) {
        rest.insert(rest.end(), {"--json", "-i", "0.05"});
        m_program.emplace(program(), call("ping", rest));
    }
    /// The next document of that event; others may come before.
    json await(const std::string& event) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (std::chrono::steady_clock::now() < deadline) {
            json document = json::parse(m_program->waitForLine(limit));
            if (document["event"] == event)
                return document;
        }
        throw std::runtime_error(m_program->describe("wrote other documents only"));
    }
    int end() {
        const auto ended = m_program->wait(limit);
        return ended && ended->exitCode ? *ended->exitCode : -1;
    }

    std::optional<ChildProcess> m_program;
};

} // namespace

TEST_F(Ping, TellsRoundTripsAndTheirSum) {
    const CliResult result = cli("ping", {"-n", "3", "-i", "0.01"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.error, "");
    const std::string line = R"([-0-9]{10}T[0-9:.]{12}Z\tNUMBER\t\d+\.\d{3} ms\n)";
    std::string form;
    for (const char* number : {"1", "2", "3"})
        form += std::regex_replace(line, std::regex("NUMBER"), number);
    form += R"(3 sent, 3 answered, 0 lost\nround trip min/avg/max \d+\.\d{3}/\d+\.\d{3}/\d+\.\d{3} ms\n)";
    EXPECT_TRUE(std::regex_match(result.output, std::regex(form))) << result.output;
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(Ping, JsonIsADocumentALine) {
    start({"-n", "2"});
    for (int number = 1; number <= 2; ++number) {
        const json answer = await("answer");
        EXPECT_EQ(answer["number"], number);
        EXPECT_GT(answer["milliseconds"], 0);
        EXPECT_EQ(answer["connectedAgain"], false);
    }
    const json summary = await("summary");
    EXPECT_EQ(summary["sent"], 2);
    EXPECT_EQ(summary["answered"], 2);
    EXPECT_EQ(summary["lost"], 0);
    EXPECT_LE(summary["min"], summary["avg"]);
    EXPECT_LE(summary["avg"], summary["max"]);
    EXPECT_EQ(end(), 0);
}

TEST_F(Ping, CtrlCIsItsEnd) {
    start();
    await("answer");
    m_program->signal(SIGINT);
    EXPECT_GE(await("summary")["answered"], 1);
    EXPECT_EQ(end(), 0);
    start();
    await("answer");
    m_program->signal(SIGTERM);
    await("summary");
    EXPECT_EQ(end(), 143);
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(Ping, WaitsThroughSilence) {
    start();
    await("answer");
    m_server.freeze();
    const json number = await("waiting")["number"];
    m_server.resume();
    const json answer = await("answer");
    EXPECT_EQ(answer["number"], number);
    EXPECT_EQ(answer["connectedAgain"], false);
    m_program->signal(SIGINT);
    EXPECT_EQ(await("summary")["lost"], 0);
    EXPECT_EQ(end(), 0);
}

TEST_F(Ping, SumsUpInTheMidstOfSilence) {
    start();
    await("answer");
    m_server.freeze();
    await("waiting");
    m_program->signal(SIGINT);
    EXPECT_EQ(await("summary")["lost"], 1) << "before the answer or its time-out";
    m_server.resume();
    EXPECT_EQ(end(), 0);
}

TEST_F(Ping, TheSumIsItsLastDocument) {
    start();
    await("answer");
    m_server.freeze();
    await("waiting");
    m_program->signal(SIGINT);
    await("summary");
    end();
    EXPECT_EQ(m_program->standardOutput(), "") << "though the session cannot be closed";
}

TEST_F(Ping, ConnectsAgain) {
    start();
    await("answer");
    const std::string port = std::to_string(m_server.port());
    m_server.kill(SIGKILL);
    EXPECT_NE(await("lost")["reason"], "");
    const ServerProcess again(test_support::PlantServer::program(), {"--port", port, "--die-with-parent"});
    json answer = await("answer");
    EXPECT_EQ(answer["connectedAgain"], true);
    EXPECT_EQ(await("answer")["connectedAgain"], false);
    m_program->signal(SIGINT);
    EXPECT_GE(await("summary")["lost"], 1);
    EXPECT_EQ(end(), 0);
}

TEST_F(Ping, WithoutAnyAnswerItIsExitCode3) {
    m_server.stop();
    const CliResult result = cli("ping", {"-n", "2"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.error, HasSubstr(m_server.url()));
    EXPECT_EQ(cli("ping", {"-n", "0"}).exitCode, 2);
    EXPECT_EQ(cli("ping", {"-i", "0"}).exitCode, 2);
}
