// docs/panel.md: its code is that of the example, its session one that the example has with the plant server.
#include <csignal>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "documents/document.h"
#include "examples/running_panel.h"
#include "support/server_process.h"
#include "support/temporary_directory.h"

using test_support::PlantServer;
using test_support::ServerProcess;
using testing::HasSubstr;

namespace {

/// The plant server as the document's events have it. It keeps its certificate.
class Plant {
public:
    Plant() { start(0); }
    const std::string& url() const { return m_server->url(); }

    /// False for an event that is none.
    bool meets(const std::string& event) {
        if (event == "hangs for a while")
            m_server->freeze();
        else if (event == "goes on")
            m_server->resume();
        else if (event == "is killed")
            m_server->kill(SIGKILL);
        else if (event == "is started again")
            start(m_server->port());
        else
            return false;
        return true;
    }

private:
    void start(int port) {
        m_server.emplace(PlantServer::program(),
                         std::vector<std::string>{"--port", std::to_string(port), "--security", "--pki",
                                                  m_directory.path(), "--die-with-parent"});
    }

    test_support::TemporaryDirectory m_directory;
    std::optional<ServerProcess> m_server;
};

/// A line of the document's session: the operator types it, the server meets it, or the panel says it.
void follow(const std::string& line, Plant& plant, RunningPanel& panel) {
    const std::string sign = line.substr(0, 2);
    if (sign == "> ")
        panel.type(line.substr(2));
    else if (sign == "# ")
        EXPECT_TRUE(plant.meets(line.substr(2))) << line;
    else if (sign != "$ ")
        panel.await(line.substr(0, line.find("...")));
}

} // namespace

TEST(PanelDocument, ItsCodeIsTheExamples) {
    const std::string source =
        unindented(textOf("examples/panel/panel.cpp") + textOf("examples/panel/main.cpp"));
    const std::vector<std::string> blocks = blocksOf(textOf("docs/panel.md"), "cpp");
    EXPECT_GE(blocks.size(), 11U);
    for (const std::string& block : blocks)
        EXPECT_THAT(source, HasSubstr(unindented(block)));
}

TEST(PanelDocument, ItsSessionIsTheExamples) {
    const std::vector<std::string> blocks = blocksOf(textOf("docs/panel.md"), "console");
    ASSERT_EQ(blocks.size(), 1U);
    Plant plant;
    RunningPanel panel(plant.url(), "ns=2;s=Line1", "ns=2;s=Line1.SpeedSetpoint");
    std::istringstream lines(blocks.front());
    for (std::string line; std::getline(lines, line);)
        follow(line, plant, panel);
    EXPECT_EQ(panel.endOfInput().text(), "exit code 0");
}
