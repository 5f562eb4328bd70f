#include "outage_fixture.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <ostream>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace {

// Numbers of the binary encodings (OPC UA Part 6, A.3).
constexpr std::uint16_t createSession = 461;
constexpr std::uint16_t activateSession = 467;
constexpr std::uint16_t createMonitoredItems = 751;
constexpr std::uint16_t createSubscription = 787;

/// Tags have these types in turn.
constexpr std::array<_OpcUaDataType, 4> tagTypes{OpcUaDataType_Double, OpcUaDataType_Int32,
                                                 OpcUaDataType_Boolean, OpcUaDataType_Float};

template <typename Value>
double store(std::array<char, 8>& bytes, Value value) {
    std::memcpy(bytes.data(), &value, sizeof value);
    return static_cast<double>(value);
}

/// Encodes a number for a tag of this type and tells what comes back.
double encode(std::array<char, 8>& bytes, _OpcUaDataType type, int number) {
    switch (type) {
    case OpcUaDataType_Boolean:
        return store(bytes, static_cast<unsigned char>(number % 2));
    case OpcUaDataType_Int32:
        return store(bytes, number);
    case OpcUaDataType_Float:
        return store(bytes, static_cast<float>(number));
    default:
        return store(bytes, static_cast<double>(number));
    }
}

} // namespace

bool Beginnings::operator==(const Beginnings& other) const {
    const auto all = [](const Beginnings& of) {
        return std::tie(of.connections, of.sessions, of.activations, of.subscriptions, of.itemCalls);
    };
    return all(*this) == all(other);
}

std::ostream& operator<<(std::ostream& stream, const Beginnings& beginnings) {
    return stream << beginnings.connections << " connections, " << beginnings.sessions << " sessions, "
                  << beginnings.activations << " activations, " << beginnings.subscriptions
                  << " subscriptions, " << beginnings.itemCalls << " calls for items";
}

void OutageTest::startPlant(int tags) {
    // A server that looks at twenty thousand items every 100 ms does nothing else.
    startServer({"--tags", std::to_string(tags), "--min-sampling", tags > 1000 ? "1000" : "50"});
    m_network = std::make_unique<test_support::OutageProxy>(server().port());
    ASSERT_EQ(ClientTest::connect(), 0);
}

Beginnings OutageTest::beginnings() const {
    return {m_network->connections(), m_network->requests(createSession),
            m_network->requests(activateSession), m_network->requests(createSubscription),
            m_network->requests(createMonitoredItems)};
}

std::vector<std::string> OutageTest::tagIds(int count) {
    std::vector<std::string> ids;
    for (int i = 0; i < count; ++i) {
        const std::string digits = std::to_string(i);
        ids.push_back("ns=2;s=Tags.Tag" + std::string(5 - digits.size(), '0') + digits);
    }
    return ids;
}

std::unordered_map<std::string, double> OutageTest::changeTags(int count) {
    const std::vector<std::string> ids = tagIds(count);
    std::vector<OpcUaNode> records(ids.size());
    std::vector<std::array<char, 8>> values(ids.size());
    std::vector<OpcUa_WriteNode> writes(ids.size());
    std::unordered_map<std::string, double> numbers;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        setField(records[i].nodeId, ids[i]);
        records[i].dataType = tagTypes[i % tagTypes.size()];
        numbers[ids[i]] = encode(values[i], records[i].dataType, static_cast<int>(i) + 1);
        writes[i] = {&records[i], values[i].data(), static_cast<int>(values[i].size())};
    }
    EXPECT_EQ(client.OpcUaSetMultiValue(writes.data(), count), 0);
    for (const OpcUaNode& record : records)
        EXPECT_EQ(record.result, 0) << fieldText(record.nodeId);
    return numbers;
}

double OutageTest::counterNow() {
    return read<unsigned int>(counter, OpcUaDataType_UInt32);
}

void OutageTest::expectWhole(Panel& panel) {
    ASSERT_TRUE(panel.waitForStatus(connected));
    EXPECT_EQ(panel.read(counter, OpcUaDataType_UInt32), 0);
    EXPECT_EQ(panel.client().OpcUaGetConnectStatus(), connected);
    EXPECT_EQ(panel.changesWithoutConnection(), 0);
}
