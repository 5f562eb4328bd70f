#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "OpcUaClientInterface.h"

/// One application with its connection: a client that monitors nodes, keeps the latest number of each, and
/// looks at its status all the time.
class Panel final : private COpcUaClientInterface::OpcUaCallBack {
public:
    explicit Panel(std::string url);
    ~Panel();
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;

    /// Connects, subscribes, monitors and has the first value of every node.
    void monitor(const std::vector<std::string>& nodeIds);
    /// Connects alone.
    void connect();

    COpcUaClientInterface& client() { return *m_client; }
    void destroyClient();

    /// Result code of a read of one number.
    int read(const std::string& nodeId, _OpcUaDataType type, double* value = nullptr);

    /// True as soon as the status is this one; false when it isn't in time.
    bool waitForStatus(int status);
    /// Every status since monitor() or connect(), each change once.
    std::vector<int> statuses() const;
    /// True as soon as the latest values of all nodes are these.
    bool waitForLatest(const std::unordered_map<std::string, double>& values);
    /// True as soon as the latest value of a node that grows is at least this.
    bool waitForAtLeast(const std::string& nodeId, double value);
    /// Changes that came while the status went on saying that there is no connection.
    int changesWithoutConnection() const { return m_changesWithoutConnection; }

private:
    void OpcUaDataChange(_OpcUaDataChangeMsg message) override;
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return -1; }
    void watchStatus();

    template <typename Condition>
    bool waitFor(Condition condition);

    std::string m_url;
    COpcUaClientInterface* m_client; ///< callbacks may use it until it is destroyed
    std::atomic<int> m_changesWithoutConnection{0};

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::unordered_map<std::string, double> m_latest;
    std::vector<int> m_statuses;
    bool m_watching = false;
    std::thread m_watcher;
};
