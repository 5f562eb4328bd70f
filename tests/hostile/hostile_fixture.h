#pragma once

#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OpcUaClientInterface.h"
#include "hostile/time_cap.h"
#include "integration/recording_application.h"
#include "support/scripted/server.h"

/// A client of the shipped library and a server that a case may turn against it. Whatever happened, the
/// client obeys the protocol, disconnects, and connects anew to the same server once that behaves.
class HostileTest : public testing::Test {
protected:
    static constexpr int connected = 1;
    static constexpr int silent = 2;
    static constexpr int lost = 3;
    static constexpr int subscriptionLost = 5;
    static constexpr int connectFailed = 1;
    static constexpr int notConnected = 3;
    static constexpr int readFailed = 7;
    static constexpr int writeFailed = 8;

    void TearDown() override;

    int connect(int timeout = 10000);
    int status() { return client.OpcUaGetConnectStatus(); }
    bool waitForStatus(int status);
    /// Reads the node "ns=1;s=Value".
    int read();
    int read(std::int32_t& value);
    int writeText(const std::string& text);
    int browse() { return client.OpcUaBrowse(nullptr); }
    /// Connects, subscribes and monitors `nodes` nodes "ns=1;s=Item0", ...
    void monitor(int nodes = 1, double publishingInterval = 50);
    int add(const std::string& nodeId);
    /// Changes of the first monitored node that the application has seen.
    int changes() { return application.count("ns=1;s=Item0"); }
    bool waitForChanges(int count);
    bool waitForValue(std::int32_t value, const std::string& nodeId = "ns=1;s=Item0");

    /// After an answer that cost nothing but itself.
    void expectUnharmed();
    /// After something that a channel can't survive.
    void expectLost();

    TimeCap cap{std::chrono::seconds(45)};
    scripted::Server server;
    RecordingApplication application;
    COpcUaClientInterface client;
};
