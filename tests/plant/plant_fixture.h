#pragma once

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/raw_client.h"
#include "support/server_process.h"

/// A plant server and a client that judges it. A test that needs options starts it itself.
class PlantTest : public testing::Test {
protected:
    void start(const std::vector<std::string>& options = {}) {
        server.emplace(options);
        client.emplace(server->url());
    }

    static std::string rack(const std::string& path) { return "ns=3;s=TestRack." + path; }

    std::optional<test_support::PlantServer> server;
    std::optional<test_support::RawClient> client;
};
