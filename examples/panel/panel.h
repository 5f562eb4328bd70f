#pragma once

#include <chrono>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "OpcUaClientInterface.h"
#include "lines.h"

/// Watches a folder of one server and writes one of its variables. Everything that may wait for the server
/// happens on one thread of its own, so that the operator's never does.
class Panel final : public COpcUaClientInterface::OpcUaCallBack {
public:
    Panel(const _OpcUaClientConfig& server, const std::string& folder, const std::string& setPoint);
    /// Leaves no session behind.
    ~Panel();
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;

    /// A line of the operator's: the answer to a question, or else a set point.
    void enter(const std::string& line) { m_lines.push(line); }

    void OpcUaDataChange(_OpcUaDataChangeMsg change) override;
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg certificate) override;

private:
    void work();
    bool connect();
    bool findVariables();
    bool subscribe();
    bool lookAfter();
    void checkSensors();
    void write(const std::string& line);

    _OpcUaClientConfig m_server;
    OpcUaNode m_folder;
    OpcUaNode m_setPoint;
    Lines m_lines;
    std::vector<OpcUaNode> m_variables;
    std::set<std::string> m_failed; ///< ids of variables without a good value
    std::chrono::steady_clock::time_point m_nextCheck;
    int m_status = 0;
    COpcUaClientInterface m_client;
    std::thread m_worker;
};
