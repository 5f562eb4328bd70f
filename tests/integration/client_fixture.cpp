#include "client_fixture.h"

#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

bool waitUntil(const std::function<bool()>& condition, std::chrono::seconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

test_support::PlantServer& ClientTest::startServer(const std::vector<std::string>& options) {
    m_server = std::make_unique<test_support::PlantServer>(options);
    return *m_server;
}

_OpcUaClientConfig ClientTest::configFor(const std::string& url) {
    _OpcUaClientConfig config{};
    setField(config.endpointUrl, url);
    return config;
}

int ClientTest::connect(const std::string& url, int timeout) {
    _OpcUaClientConfig config = configFor(url);
    config.timeout = timeout;
    return client.OpcUaConnect(config);
}

std::string ClientTest::errorText() {
    char text[256] = {};
    client.GetErrorMsg(text, sizeof text);
    return text;
}

OpcUaNode* ClientTest::node(const std::string& nodeId, _OpcUaDataType type) {
    OpcUaNode* record = client.OpcUaGetUaNode(nodeId.c_str(), type);
    // A lookup finds a record whose id merely begins with the text: cases name their nodes in full.
    EXPECT_EQ(fieldText(record->nodeId), nodeId);
    record->dataType = type;
    return record;
}

std::string ClientTest::readText(const std::string& nodeId) {
    char text[2048] = {};
    int size = sizeof text;
    EXPECT_EQ(client.OpcUaGetValue(node(nodeId, OpcUaDataType_String), text, size), 0) << nodeId;
    return std::string(text, static_cast<std::size_t>(size));
}

unsigned long ClientTest::diagnostics(const std::string& name) {
    return read<unsigned long>("ns=3;s=TestRack.Diagnostics." + name, OpcUaDataType_UInt64);
}

OpcUaNode* ClientTest::childNamed(OpcUaNode* parent, const std::string& name) {
    for (OpcUaNode* child : childrenOf(parent)) {
        const std::string browseName = fieldText(child->browseName);
        if (browseName.substr(browseName.find(':') + 1) == name)
            return child;
    }
    ADD_FAILURE() << "no child " << name << " below " << fieldText(parent->displayName);
    return nullptr;
}

OpcUaNode* ClientTest::browseTo(const std::vector<std::string>& path) {
    EXPECT_EQ(client.OpcUaBrowse(nullptr), 0);
    OpcUaNode* record = client.OpcUaReadRootNode();
    for (const std::string& name : path) {
        record = childNamed(record, name);
        if (record == nullptr)
            return nullptr;
        EXPECT_EQ(client.OpcUaBrowse(record), 0) << name;
    }
    return record;
}

std::vector<OpcUaNode*> ClientTest::childrenOf(const OpcUaNode* parent) {
    std::vector<OpcUaNode*> children;
    for (OpcUaNode* child = parent->child; child != nullptr; child = child->next)
        children.push_back(child);
    return children;
}
