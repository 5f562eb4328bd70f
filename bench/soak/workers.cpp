#include "soak/workers.h"

#include <array>
#include <chrono>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "surroundings/tags.h"

namespace soak {
namespace {

const std::string rack = "ns=3;s=TestRack.";

} // namespace

PanelWorker::PanelWorker(Gate& gate, Work& work, const std::string& url)
    : Worker(gate, work), m_client(url, work), m_values(tagCount) {
    for (const bench::Tag& tag : bench::tags(0, tagCount))
        m_tags.push_back(recordOf(tag.nodeId, tag.dataType));
}

void PanelWorker::round() {
    if (!m_client.ensure([this] { return subscribe(); })) {
        count(1);
        return;
    }
    ++m_rounds;
    useSingleValues();
    useElements();
    useManyValues();
    changeItems();
}

bool PanelWorker::subscribe() {
    return count(m_client->OpcUaCreateSubScription(100)) && monitorAll();
}

bool PanelWorker::monitorAll() {
    return count(m_client->OpcUaAddMultiMonitNode(m_tags.data(), static_cast<int>(m_tags.size())));
}

/// What was written comes back: nobody else writes there.
void PanelWorker::useSingleValues() {
    OpcUaNode number = recordOf(rack + "Scalar.Int64", OpcUaDataType_Int64);
    OpcUaNode text = recordOf(rack + "Scalar.String", OpcUaDataType_String);
    for (long i = 0; i < 20; ++i) {
        const long written = m_rounds * 100L + i;
        long read = 0;
        int size = sizeof written;
        if (count(m_client->OpcUaSetValue(&number, &written, size)) &&
            count(m_client->OpcUaGetValue(&number, &read, size)) && read != written) {
            throw std::runtime_error("a number was read that nobody has written");
        }
        const std::string line = std::string(static_cast<std::size_t>(written % 300), 'x');
        std::array<char, 512> buffer{};
        size = 0;
        const bool writtenText = count(m_client->OpcUaSetValue(&text, line.c_str(), size));
        size = static_cast<int>(buffer.size());
        if (writtenText && count(m_client->OpcUaGetValue(&text, buffer.data(), size)) &&
            line != std::string(buffer.data(), static_cast<std::size_t>(size))) {
            throw std::runtime_error("a text was read that nobody has written");
        }
    }
}

void PanelWorker::useElements() {
    OpcUaNode array = recordOf(rack + "Array.Double", OpcUaDataType_Double);
    unsigned long index = static_cast<unsigned long>(m_rounds % 10);
    double value = m_rounds;
    int size = sizeof value;
    count(m_client->OpcUaSetArrayValue(&array, &index, 1, &value, size));
    count(m_client->OpcUaGetArrayValue(&array, &index, 1, &value, size));
}

void PanelWorker::useManyValues() {
    std::vector<OpcUa_ReadNode> reads(tagCount);
    std::vector<OpcUa_WriteNode> writes(tagCount);
    for (std::size_t i = 0; i < tagCount; ++i) {
        reads[i] = {&m_tags[i], m_values[i].data(), static_cast<int>(m_values[i].size())};
        writes[i] = {&m_tags[i], m_values[i].data(), static_cast<int>(m_values[i].size())};
    }
    count(m_client->OpcUaGetMultiValue(reads.data(), tagCount));
    count(m_client->OpcUaSetMultiValue(writes.data(), tagCount));
}

void PanelWorker::changeItems() {
    OpcUaNode& one = m_tags[static_cast<std::size_t>(m_rounds) % tagCount];
    count(m_client->OpcUaRemoveMonitNode(&one, nullptr, 0));
    count(m_client->OpcUaAddMonitNode(&one, nullptr, 0));
    if (m_rounds % 100 == 0) {
        count(m_client->OpcUaClearMonitNode());
        monitorAll();
    }
    if (m_rounds % 500 == 0) {
        count(m_client->OpcUaDeleteSubScription());
        subscribe();
    }
}

void BrowsingWorker::round() {
    if (!m_client.ensure([] { return true; })) {
        count(1);
        return;
    }
    count(m_client->OpcUaBrowse(nullptr));
    if (OpcUaNode* const root = m_client->OpcUaReadRootNode()) {
        for (OpcUaNode* child = root->child; child != nullptr; child = child->next)
            count(m_client->OpcUaBrowse(child));
        // A record of the application's own that the tree knows, since a key may be the beginning of one.
        OpcUaNode folder = recordOf("i=85");
        count(m_client->OpcUaBrowse(&folder));
        COpcUaNodelist().deleteMemory(&folder.child);
    }
}

VisitingWorker::VisitingWorker(Gate& gate, Work& work, const std::string& unsteadyUrl, unsigned short port)
    : Worker(gate, work), m_unsteadyUrl(unsteadyUrl), m_url("opc.tcp://127.0.0.1:" + std::to_string(port)),
      m_urlWithName("opc.tcp://localhost:" + std::to_string(port)) {}

_OpcUaClientConfig VisitingWorker::nextConfig() const {
    switch (m_visits % 4) {
    case 0:
        return configFor(m_unsteadyUrl);
    case 1:
        return configFor(m_urlWithName);
    default:
        _OpcUaClientConfig config = configFor(m_url);
        config.securityPolicy = 3 + static_cast<int>(m_visits / 4 % 3); // the three that are not weak
        config.securityMode = static_cast<int>(m_visits % 2) + 1;
        config.userIdentity = static_cast<int>(m_visits / 12 % 2);
        setField(config.userName, "operator");
        setField(config.password, "plant");
        return config;
    }
}

void VisitingWorker::round() {
    Application application(m_work);
    COpcUaClientInterface client;
    client.installOpcUaCallBack(&application);
    ++m_visits;
    if (m_visits % 10 == 0) {
        std::string url = m_visits % 20 == 0 ? m_url : m_unsteadyUrl;
        count(client.OpcUaDiscover(url.data(), *std::make_unique<_OpcUa_ServerConfigMsg>()));
    }
    _OpcUaClientConfig config = nextConfig();
    if (count(client.OpcUaConnect(config))) {
        look(client);
        if (m_visits % 3 != 0) // else the destructor does it
            count(client.OpcUaDisConnect());
    }
    // More visits would only crowd out the other workers.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

void VisitingWorker::look(COpcUaClientInterface& client) {
    count(client.OpcUaCreateSubScription(50));
    OpcUaNode record = recordOf(rack + "Moving.Counter", OpcUaDataType_UInt32);
    count(client.OpcUaAddMonitNode(&record, nullptr, 0));
    unsigned int value = 0;
    int size = sizeof value;
    for (int i = 0; i < 10; ++i)
        count(client.OpcUaGetValue(&record, &value, size));
}

} // namespace soak
