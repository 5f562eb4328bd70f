#include "monitoring_test.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <open62541/types_generated_handling.h>

#include "adopted_mutexes.h"

Changes& Changes::add(OpcUa_UInt32 clientHandle, const UaVariant& value, OpcUa_StatusCode status) {
    OpcUa_DataValue change = {};
    value.copyTo(&change.value);
    change.hasValue = !value.isEmpty();
    change.status = status;
    change.hasStatus = status != OpcUa_Good;
    m_notifications.append(clientHandle, change);
    UA_clear(&change, &UA_TYPES[UA_TYPES_DATAVALUE]);
    return *this;
}

void Changes::deliver() {
    script().subscriptionCallback()->dataChange(1, m_notifications, UaDiagnosticInfos());
    m_notifications.clear();
}

MonitoringTest::MonitoringTest() {
    {
        const mutex_watch::AdoptedMutexes adopted;
        m_client = std::make_unique<COpcUaClient>();
    }
    EXPECT_EQ(m_client->installOpcUaCallBack(&m_application), 0);
    connect();
    subscribe();
    watchFromHere();
}

MonitoringTest::~MonitoringTest() {
    m_client.reset();
}

void MonitoringTest::connect() {
    _OpcUaClientConfig config = makeConfig();
    ASSERT_EQ(m_client->OpcUaConnect(config), 0);
}

void MonitoringTest::subscribe() {
    ASSERT_EQ(m_client->OpcUaCreateSubScription(100), 0);
}

void MonitoringTest::watchFromHere() {
    script().forgetCalls();
    mutex_watch::forgetLocks();
}

std::string MonitoringTest::message() {
    char text[256] = {};
    m_client->GetErrorMsg(text, sizeof text);
    return text;
}

int MonitoringTest::add(const std::string& nodeId, const Indices& index) {
    OpcUaNode node = makeNode(nodeId);
    Indices copy = index;
    return m_client->OpcUaAddMonitNode(&node, copy.data(), static_cast<int>(copy.size()));
}

int MonitoringTest::addMany(std::vector<OpcUaNode>& nodes) {
    return m_client->OpcUaAddMultiMonitNode(nodes.data(), static_cast<int>(nodes.size()));
}

int MonitoringTest::remove(const std::string& nodeId, const Indices& index) {
    OpcUaNode node = makeNode(nodeId);
    Indices copy = index;
    return m_client->OpcUaRemoveMonitNode(&node, copy.data(), static_cast<int>(copy.size()));
}

std::map<unsigned int, _monitItemMsg> MonitoringTest::items() {
    std::map<unsigned int, _monitItemMsg> result;
    m_client->ReturnMonitorItemMsg(result);
    return result;
}

std::vector<std::string> MonitoringTest::monitored() {
    std::vector<std::string> texts;
    for (const auto& item : items())
        texts.push_back(fieldText(item.second.node->nodeId));
    return texts;
}

std::vector<OpcUaNode> MonitoringTest::manyNodes(int count) {
    std::vector<OpcUaNode> nodes;
    for (int i = 0; i < count; ++i) {
        nodes.push_back(makeNode("ns=2;s=Tag" + std::to_string(i) + "."));
        nodes.back().result = 99;
    }
    return nodes;
}
