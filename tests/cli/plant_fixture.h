#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli_program.h"
#include "support/server_process.h"

namespace cli_test {

const std::string rack = "ns=3;s=TestRack.";

/// The program against a plant server of its own.
class Plant : public testing::Test {
protected:
    explicit Plant(const std::vector<std::string>& options = {}) : m_server(options) {}

    /// The command, the server's address, and the rest.
    Arguments call(const std::string& command, const Arguments& rest) const {
        Arguments all{command, m_server.url()};
        all.insert(all.end(), rest.begin(), rest.end());
        return all;
    }
    CliResult cli(const std::string& command, const Arguments& rest = {}) const {
        return run(call(command, rest));
    }
    nlohmann::json cliJson(const std::string& command, Arguments rest = {}) const {
        rest.emplace_back("--json");
        const CliResult result = cli(command, rest);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        EXPECT_EQ(result.error, "");
        return result.json();
    }
    nlohmann::json value(const std::string& node) const {
        return cliJson("read", {node})["nodes"][0]["value"];
    }
    unsigned sessions() const { return value(rack + "Diagnostics.CurrentSessions").get<unsigned>(); }

    test_support::PlantServer m_server;
};

} // namespace cli_test
