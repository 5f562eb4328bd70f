#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "OpcUaClientInterface.h"
#include "support/server_process.h"

/// A text field of a record: it may fill its array without a terminator.
template <std::size_t Size>
std::string fieldText(const char (&field)[Size]) {
    return std::string(field, strnlen(field, Size));
}

template <std::size_t Size>
void setField(char (&field)[Size], const std::string& text) {
    ASSERT_LT(text.size(), Size);
    text.copy(field, Size - 1);
    field[text.size()] = '\0';
}

/// True as soon as `condition` holds; false when it does not within `limit`.
bool waitUntil(const std::function<bool()>& condition, std::chrono::seconds limit = std::chrono::seconds(30));

/// A client, and a plant server that starts when a case first asks for it.
class ClientTest : public testing::Test {
protected:
    static constexpr int connected = 1;

    test_support::PlantServer& startServer(const std::vector<std::string>& options);
    test_support::PlantServer& server() { return m_server ? *m_server : startServer({}); }
    void stopServer() { m_server.reset(); }

    static _OpcUaClientConfig configFor(const std::string& url);
    int connect() { return connect(server().url()); }
    int connect(const std::string& url, int timeout = 10000);
    std::string errorText();

    /// A node of the server by its id, with the type that the case wants to use.
    OpcUaNode* node(const std::string& nodeId, _OpcUaDataType type);
    template <typename Value>
    Value read(const std::string& nodeId, _OpcUaDataType type) {
        Value value{};
        int size = 0;
        EXPECT_EQ(client.OpcUaGetValue(node(nodeId, type), &value, size), 0) << nodeId;
        EXPECT_EQ(size, static_cast<int>(sizeof value)) << nodeId;
        return value;
    }
    template <typename Value>
    int write(const std::string& nodeId, _OpcUaDataType type, Value value) {
        int size = sizeof value;
        return client.OpcUaSetValue(node(nodeId, type), &value, size);
    }
    std::string readText(const std::string& nodeId);
    /// A counter of the server's diagnostics.
    unsigned long diagnostics(const std::string& name);

    /// Browses from the root along browse names, namespaces left out, and returns the last record, its
    /// children browsed.
    OpcUaNode* browseTo(const std::vector<std::string>& path);
    OpcUaNode* childNamed(OpcUaNode* parent, const std::string& name);
    static std::vector<OpcUaNode*> childrenOf(const OpcUaNode* parent);

    COpcUaClientInterface client;

private:
    std::unique_ptr<test_support::PlantServer> m_server;
};
