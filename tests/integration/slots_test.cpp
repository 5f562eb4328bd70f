// Every operation of the implementation interface, called by its slot number on a live client, does its work.
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "recording_application.h"
#include "support/slots.h"
#include "trace_file.h"

using test_support::slotAs;

namespace {

OpcUaNode recordOf(const std::string& name, _OpcUaDataType type) {
    OpcUaNode record{};
    setField(record.nodeId, "ns=3;s=TestRack." + name);
    record.dataType = type;
    return record;
}

/// A facade that leaves its implementation to whoever destroys that.
class ImplementationAlone {
public:
    COpcUaClientImp* get() { return test_support::implementationOf(*m_facade); }

private:
    alignas(COpcUaClientInterface) char m_memory[sizeof(COpcUaClientInterface)];
    COpcUaClientInterface* m_facade = new (m_memory) COpcUaClientInterface;
};

/// The fixture's own client tells what the server saw of the one whose slots are called.
class Slots : public ClientTest {
protected:
    Slots() { EXPECT_EQ(connect(), 0); }

    template <class... Parameters>
    int call(std::size_t slot, Parameters... parameters) {
        return slotAs<int(COpcUaClientImp*, Parameters...)>(m_walked, slot)(m_walked, parameters...);
    }
    int connectWalked() {
        _OpcUaClientConfig config = configFor(server().url());
        return call<_OpcUaClientConfig&>(4, config);
    }
    bool serverHas(const char* what, unsigned long count) {
        return waitUntil([&] { return diagnostics(what) == count; });
    }
    int readInt32(OpcUaNode* node) {
        int value = 0;
        int size = 0;
        EXPECT_EQ((call<OpcUaNode*, void*, int&>(7, node, &value, size)), 0);
        EXPECT_EQ(size, 4);
        return value;
    }

    void walkConnection();
    void walkBrowsingAndValues();
    void walkSubscription();
    void walkRecordsAndState();
    void walkElements();
    void walkManyNodes();

    COpcUaClientImp* m_walked = nullptr;
    RecordingApplication m_application;
};

TEST_F(Slots, TheFirstDestroysAConnectedClientAndTheSecondFreesItToo) {
    for (const std::size_t destructor : {std::size_t{0}, std::size_t{1}}) {
        ImplementationAlone implementation;
        m_walked = implementation.get();
        ASSERT_EQ(connectWalked(), 0);
        ASSERT_TRUE(serverHas("CurrentSessions", 2));
        slotAs<void(COpcUaClientImp*)>(m_walked, destructor)(m_walked);
        if (destructor == 0)
            ::operator delete(m_walked);
        EXPECT_TRUE(serverHas("CurrentSessions", 1)) << "destructor " << destructor;
    }
}

TEST_F(Slots, TheOthersDoTheirWorkFromConnectToManyNodes) {
    const auto facade = std::make_unique<COpcUaClientInterface>();
    m_walked = test_support::implementationOf(*facade);
    ASSERT_NO_FATAL_FAILURE(walkConnection());
    ASSERT_NO_FATAL_FAILURE(walkBrowsingAndValues());
    ASSERT_NO_FATAL_FAILURE(walkSubscription());
    ASSERT_NO_FATAL_FAILURE(walkRecordsAndState());
    ASSERT_NO_FATAL_FAILURE(walkElements());
    ASSERT_NO_FATAL_FAILURE(walkManyNodes());
    ASSERT_EQ(call(5), 0);
}

void Slots::walkConnection() {
    const TraceFile trace;
    EXPECT_EQ(call(2, OpcUaTraceLevel_LifeCycle), 0);
    EXPECT_TRUE(std::filesystem::exists(TraceFile::path()));

    const auto found = std::make_unique<_OpcUa_ServerConfigMsg>();
    std::string url = server().url();
    EXPECT_EQ((call<char*, _OpcUa_ServerConfigMsg&>(3, url.data(), *found)), 0);
    ASSERT_EQ(found->serverCount, 1U);
    EXPECT_EQ(fieldText(found->servers[0].applicationUri), "urn:kestrova:plant-server");

    ASSERT_EQ(connectWalked(), 0);
    EXPECT_TRUE(serverHas("CurrentSessions", 2));
    EXPECT_EQ(trace.linesWith("connected to " + server().url()), 1);

    EXPECT_EQ(call(5), 0);
    EXPECT_TRUE(serverHas("CurrentSessions", 1));
    ASSERT_EQ(connectWalked(), 0);
}

void Slots::walkBrowsingAndValues() {
    EXPECT_EQ(call<OpcUaNode*>(6, nullptr), 0);

    OpcUaNode number = recordOf("Scalar.Int32", OpcUaDataType_Int32);
    EXPECT_EQ(readInt32(&number), -123456789);

    const int value = 8;
    int size = sizeof value;
    EXPECT_EQ((call<OpcUaNode*, const void*, int&>(8, &number, &value, size)), 0);
    EXPECT_EQ(readInt32(&number), 8);
}

void Slots::walkSubscription() {
    EXPECT_EQ(call(9, 50.0), 0);
    EXPECT_TRUE(serverHas("CurrentSubscriptions", 1));
    EXPECT_EQ(call(10), 0);
    EXPECT_TRUE(serverHas("CurrentSubscriptions", 0));
    ASSERT_EQ(call(9, 50.0), 0);

    OpcUaNode array = recordOf("Array.Int32", OpcUaDataType_Int32);
    unsigned long index[] = {5};
    EXPECT_EQ((call<OpcUaNode*, unsigned long*, int>(11, &array, index, 1)), 0);
    EXPECT_TRUE(serverHas("MonitoredItems", 1));
    EXPECT_EQ((call<OpcUaNode*, unsigned long*, int>(12, &array, index, 1)), 0);
    EXPECT_TRUE(serverHas("MonitoredItems", 0));

    ASSERT_EQ((call<OpcUaNode*, unsigned long*, int>(11, &array, index, 1)), 0);
    EXPECT_EQ(call(13), 0);
    EXPECT_TRUE(serverHas("MonitoredItems", 0));
}

void Slots::walkRecordsAndState() {
    const OpcUaNode* const root = slotAs<OpcUaNode*(COpcUaClientImp*)>(m_walked, 14)(m_walked);
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(childrenOf(root).size(), 3U);

    OpcUaNode* const lookedUp = slotAs<OpcUaNode*(COpcUaClientImp*, const char*, _OpcUaDataType)>(
        m_walked, 15)(m_walked, "ns=3;s=TestRack.Scalar.Int32", OpcUaDataType_Int32);
    ASSERT_NE(lookedUp, nullptr);
    EXPECT_EQ(readInt32(lookedUp), 8);

    EXPECT_EQ(call(16), connected);

    int size = 0;
    EXPECT_EQ((call<OpcUaNode*, void*, int&>(7, lookedUp, nullptr, size)), 29);
    char text[64] = {};
    EXPECT_EQ((slotAs<char*(COpcUaClientImp*, char*, int)>(m_walked, 17)(m_walked, text, sizeof text)), text);
    EXPECT_STREQ(text, "传入的参数为空或者无效");

    EXPECT_EQ(call<void*>(18, static_cast<COpcUaClientInterface::OpcUaCallBack*>(&m_application)), 0);
    slotAs<void(COpcUaClientImp*, void*)>(m_walked, 19)(m_walked, m_walked);
}

void Slots::walkElements() {
    OpcUaNode matrix = recordOf("Matrix2.Int32", OpcUaDataType_Int32);
    unsigned long index[] = {1, 2};
    int value = 0;
    int size = 0;
    EXPECT_EQ((call<OpcUaNode*, unsigned long*, int, void*, int&>(20, &matrix, index, 2, &value, size)), 0);
    EXPECT_EQ(value, 6);

    const int written = 66;
    EXPECT_EQ(
        (call<OpcUaNode*, unsigned long*, int, const void*, int&>(21, &matrix, index, 2, &written, size)), 0);
    EXPECT_EQ((call<OpcUaNode*, unsigned long*, int, void*, int&>(20, &matrix, index, 2, &value, size)), 0);
    EXPECT_EQ(value, 66);
}

void Slots::walkManyNodes() {
    constexpr int count = 21;
    std::vector<OpcUaNode> nodes(count, recordOf("Scalar.Int32", OpcUaDataType_Int32));
    nodes.back() = recordOf("Scalar.Double", OpcUaDataType_Double);
    std::vector<int> numbers(count - 1);
    double real = 0;
    std::vector<OpcUa_ReadNode> reads;
    for (int& number : numbers)
        reads.push_back({&nodes[reads.size()], &number, 0});
    reads.push_back({&nodes.back(), &real, 0});
    EXPECT_EQ(call(22, reads.data(), count), 0);
    EXPECT_EQ(numbers, std::vector<int>(count - 1, 8));
    EXPECT_EQ(real, -2.718281828459045);

    real = 24.5;
    OpcUa_WriteNode write{&nodes.back(), &real, sizeof real};
    EXPECT_EQ(call(23, &write, 1), 0);
    EXPECT_EQ(nodes.back().result, 0);

    EXPECT_EQ(call(24, nodes.data(), count), 0);
    EXPECT_TRUE(m_application.waitForNodes(2));
    const _OpcUaDataChangeMsg change = m_application.last(fieldText(nodes.back().nodeId));
    EXPECT_EQ(std::memcmp(change.value, &real, sizeof real), 0);
    EXPECT_TRUE(serverHas("MonitoredItems", count));
}

} // namespace
