#include "panel.h"

#include <chrono>
#include <cstring>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "client_fixture.h"

using namespace std::chrono_literals;

namespace {

constexpr int connectionUsable = 1;
constexpr int subscriptionSilent = 5;
/// Generous: the repetitions of lost segments are up to as far apart as the silence was long.
constexpr auto patience = 90s;

template <typename Value>
double numberFrom(const char* bytes) {
    Value value;
    std::memcpy(&value, bytes, sizeof value);
    return static_cast<double>(value);
}

double numberOf(const char* bytes, _OpcUaDataType type) {
    switch (type) {
    case OpcUaDataType_Boolean:
        return numberFrom<unsigned char>(bytes);
    case OpcUaDataType_Int32:
        return numberFrom<int>(bytes);
    case OpcUaDataType_UInt32:
        return numberFrom<unsigned int>(bytes);
    case OpcUaDataType_Float:
        return numberFrom<float>(bytes);
    case OpcUaDataType_Double:
        return numberFrom<double>(bytes);
    default:
        ADD_FAILURE() << "a value of type " << type;
        return 0;
    }
}

} // namespace

Panel::Panel(std::string url) : m_url(std::move(url)), m_client(new COpcUaClientInterface) {}

Panel::~Panel() {
    destroyClient();
}

void Panel::destroyClient() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_watching = false;
    }
    if (m_watcher.joinable())
        m_watcher.join();
    delete m_client;
    m_client = nullptr;
}

void Panel::connect() {
    _OpcUaClientConfig config{};
    setField(config.endpointUrl, m_url);
    config.timeout = 20000;
    ASSERT_EQ(m_client->installOpcUaCallBack(this), 0);
    ASSERT_EQ(m_client->OpcUaConnect(config), 0);
    m_watching = true;
    m_watcher = std::thread([this] { watchStatus(); });
}

void Panel::monitor(const std::vector<std::string>& nodeIds) {
    connect();
    ASSERT_EQ(m_client->OpcUaCreateSubScription(100), 0);
    std::vector<OpcUaNode> records(nodeIds.size());
    for (std::size_t i = 0; i < nodeIds.size(); ++i)
        setField(records[i].nodeId, nodeIds[i]);
    ASSERT_EQ(m_client->OpcUaAddMultiMonitNode(records.data(), static_cast<int>(records.size())), 0);
    for (const OpcUaNode& record : records)
        ASSERT_EQ(record.result, 0) << fieldText(record.nodeId);
    ASSERT_TRUE(waitFor([&] { return m_latest.size() == nodeIds.size(); }));
}

int Panel::read(const std::string& nodeId, _OpcUaDataType type, double* value) {
    OpcUaNode record{};
    setField(record.nodeId, nodeId);
    record.dataType = type;
    char bytes[sizeof(double)] = {};
    int size = sizeof bytes;
    const int code = m_client->OpcUaGetValue(&record, bytes, size);
    if (code == 0 && value != nullptr)
        *value = numberOf(bytes, type);
    return code;
}

bool Panel::waitForStatus(int status) {
    return waitFor([&] { return !m_statuses.empty() && m_statuses.back() == status; });
}

std::vector<int> Panel::statuses() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_statuses;
}

bool Panel::waitForLatest(const std::unordered_map<std::string, double>& values) {
    return waitFor([&] { return m_latest == values; });
}

bool Panel::waitForAtLeast(const std::string& nodeId, double value) {
    return waitFor([&] { return m_latest[nodeId] >= value; });
}

template <typename Condition>
bool Panel::waitFor(Condition condition) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, patience, condition);
}

void Panel::OpcUaDataChange(_OpcUaDataChangeMsg message) {
    // The status comes from another thread: it may be a moment later, but it doesn't wait for this.
    const auto hasConnection = [this] {
        const int status = m_client->OpcUaGetConnectStatus();
        return status == connectionUsable || status == subscriptionSilent;
    };
    if (!waitUntil(hasConnection, 5s))
        ++m_changesWithoutConnection;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_latest[fieldText(message.nodeId)] = numberOf(message.value, message.dataType);
    m_changed.notify_all();
}

void Panel::watchStatus() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (m_watching) {
        lock.unlock();
        const int status = m_client->OpcUaGetConnectStatus();
        lock.lock();
        if (m_statuses.empty() || m_statuses.back() != status) {
            m_statuses.push_back(status);
            m_changed.notify_all();
        }
        m_changed.wait_for(lock, 5ms, [this] { return !m_watching; });
    }
}
