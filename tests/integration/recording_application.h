#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "client_fixture.h"

/// Keeps the last change of every node and how many there were.
class RecordingApplication final : public COpcUaClientInterface::OpcUaCallBack {
public:
    void OpcUaDataChange(_OpcUaDataChangeMsg message) override {
        std::function<void(const _OpcUaDataChangeMsg&)> action;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            const std::string id = fieldText(message.nodeId);
            m_last[id] = message;
            ++m_counts[id];
            m_threads.insert(std::this_thread::get_id());
            action = m_onChange;
            m_changed.notify_all();
        }
        if (action)
            action(message);
    }
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return -1; }

    void onEachChange(std::function<void(const _OpcUaDataChangeMsg&)> action) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_onChange = std::move(action);
    }

    bool waitFor(const std::function<bool()>& condition) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(60), condition);
    }
    bool waitForCount(const std::string& id, int count) {
        return waitFor([&] { return m_counts[id] >= count; });
    }
    /// Waits until the node's last change is one that the test accepts.
    bool waitForValue(const std::string& id, const std::function<bool(const _OpcUaDataChangeMsg&)>& accepts) {
        return waitFor([&] { return m_counts[id] > 0 && accepts(m_last[id]); });
    }
    bool waitForNodes(std::size_t count) {
        return waitFor([&] { return m_last.size() >= count; });
    }
    int count(const std::string& id) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_counts[id];
    }
    _OpcUaDataChangeMsg last(const std::string& id) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_last[id];
    }
    std::set<std::thread::id> threads() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_threads;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<std::string, _OpcUaDataChangeMsg> m_last;
    std::map<std::string, int> m_counts;
    std::set<std::thread::id> m_threads;
    std::function<void(const _OpcUaDataChangeMsg&)> m_onChange;
};

/// A connected client with a subscription and an application that listens.
class MonitoringTest : public ClientTest {
protected:
    /// The callback must not outlive what it uses.
    ~MonitoringTest() override { client.OpcUaDisConnect(); }

    void subscribe(const std::vector<std::string>& options = {}) {
        startServer(options);
        ASSERT_EQ(client.installOpcUaCallBack(&application), 0);
        ASSERT_EQ(connect(), 0);
        ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    }
    static std::string rack(const std::string& name) { return "ns=3;s=TestRack." + name; }
    int add(const std::string& id, std::vector<unsigned long> index = {}) {
        OpcUaNode record = recordOf(id);
        return client.OpcUaAddMonitNode(&record, index.data(), static_cast<int>(index.size()));
    }
    int remove(const std::string& id) {
        OpcUaNode record = recordOf(id);
        return client.OpcUaRemoveMonitNode(&record, nullptr, 0);
    }
    static OpcUaNode recordOf(const std::string& id) {
        OpcUaNode record{};
        setField(record.nodeId, id);
        return record;
    }
    int writeText(const std::string& id, const std::string& text) {
        int size = 0;
        return client.OpcUaSetValue(node(id, OpcUaDataType_String), text.c_str(), size);
    }
    template <typename Value>
    static Value valueOf(const _OpcUaDataChangeMsg& message) {
        Value value;
        std::memcpy(&value, message.value, sizeof value);
        return value;
    }
    static std::string textOf(const _OpcUaDataChangeMsg& message) {
        return std::string(message.value, static_cast<std::size_t>(message.valueSize));
    }

    RecordingApplication application;
};
