#include "session_fixture.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace UaClientSdk;

void StatusRecorder::connectionStatusChanged(unsigned int, Status status) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_reports.push_back(status);
    m_threads.push_back(std::this_thread::get_id());
    m_changed.notify_all();
}

std::vector<StatusRecorder::Status> StatusRecorder::reports() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_reports;
}

std::vector<std::thread::id> StatusRecorder::threads() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_threads;
}

bool StatusRecorder::waitFor(Status status, std::chrono::seconds limit) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, limit,
                              [this, status] { return !m_reports.empty() && m_reports.back() == status; });
}

test_support::PlantServer& SessionTest::server() {
    if (m_server == nullptr)
        m_server = std::make_unique<test_support::PlantServer>();
    return *m_server;
}

UaStatus SessionTest::connect(const std::string& url) {
    return session->connect(UaString(url), connectInfo, securityInfo, &recorder);
}

UaStatus SessionTest::disconnect() {
    ServiceSettings settings;
    return session->disconnect(settings, true);
}

UaStatus SessionTest::readValue(const char* nodeId, UaDataValues& values, OpcUa_Int32 timeout) {
    ServiceSettings settings;
    settings.callTimeout = timeout;
    UaReadValueIds nodes;
    nodes.create(1);
    UaNodeId::fromXmlString(nodeId).copyTo(&nodes[0].nodeId);
    nodes[0].attributeId = OpcUa_Attributes_Value;
    UaDiagnosticInfos diagnostics;
    return session->read(settings, 0, OpcUa_TimestampsToReturn_Both, nodes, values, diagnostics);
}

UaStatus SessionTest::readServerState() {
    UaDataValues values;
    return readValue("i=2259", values);
}
