#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "client/opcua_client.h"
#include "client_test.h"

using Indices = std::vector<unsigned long>;

/// Keeps what it is given.
class RecordingApplication final : public COpcUaClientInterface::OpcUaCallBack {
public:
    void OpcUaDataChange(_OpcUaDataChangeMsg message) override {
        messages.push_back(message);
        heldMutexes = mutex_watch::held();
        if (onChange)
            onChange();
    }
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return -1; }

    std::vector<_OpcUaDataChangeMsg> messages;
    std::vector<int> heldMutexes;
    std::function<void()> onChange;
};

/// Data changes as one publish response brings them.
class Changes {
public:
    Changes& add(OpcUa_UInt32 clientHandle, const UaVariant& value, OpcUa_StatusCode status = OpcUa_Good);
    /// Gives them to the callback of the subscription and forgets them.
    void deliver();

private:
    UaMonitoredItemNotifications m_notifications;
};

/// A connected client with a subscription and an application that listens.
class MonitoringTest : public StandInTest {
protected:
    MonitoringTest();
    ~MonitoringTest() override;

    void connect();
    void subscribe();
    /// Calls and locks from now on.
    void watchFromHere();
    std::string message();

    int add(const std::string& nodeId, const Indices& index = {});
    int addMany(std::vector<OpcUaNode>& nodes);
    int remove(const std::string& nodeId, const Indices& index = {});
    std::map<unsigned int, _monitItemMsg> items();
    /// Texts of the monitored nodes in the order of their keys.
    std::vector<std::string> monitored();
    static std::vector<OpcUaNode> manyNodes(int count);

    RecordingApplication m_application;
    std::unique_ptr<COpcUaClient> m_client;
};
