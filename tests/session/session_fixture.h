#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/message_proxy.h"
#include "support/server_process.h"
#include "uaclient/session.h"

/// Keeps every status report with the thread that made it.
class StatusRecorder : public UaClientSdk::UaSessionCallback {
public:
    using Status = UaClientSdk::UaClient::ServerStatus;

    void connectionStatusChanged(unsigned int id, Status status) override;

    std::vector<Status> reports() const;
    std::vector<std::thread::id> threads() const;
    /// True once the latest report is `status`; false when it did not come within `limit`.
    bool waitFor(Status status, std::chrono::seconds limit) const;

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::vector<Status> m_reports;
    std::vector<std::thread::id> m_threads;
};

/// One plant server for the case, and a session to it.
class SessionTest : public testing::Test {
protected:
    UaStatus connect(const std::string& url);
    UaStatus connect() { return connect(server().url()); }
    UaStatus disconnect();
    /// Reads the Value of one node of the server.
    UaStatus readValue(const char* nodeId, UaDataValues& values, OpcUa_Int32 timeout = 10000);
    UaStatus readServerState();

    test_support::PlantServer& server();

    UaClientSdk::SessionConnectInfo connectInfo;
    UaClientSdk::SessionSecurityInfo securityInfo;
    StatusRecorder recorder;
    std::unique_ptr<UaClientSdk::UaSession> session = std::make_unique<UaClientSdk::UaSession>();

    SessionTest() { connectInfo.automaticReconnect = false; }

private:
    std::unique_ptr<test_support::PlantServer> m_server;
};
