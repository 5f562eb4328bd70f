#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

#include "client_test.h"

using standin::WriteItem;
using standin::WriteRequest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

class WriteValue : public ClientTest {
protected:
    WriteValue() { connect(); }

    /// Writes `buffer` through a record of `dataType`; the one item that was sent.
    WriteItem write(int dataType, const void* buffer, int& size) {
        script().forgetCalls();
        OpcUaNode node = makeNode("ns=2;s=A", dataType);
        EXPECT_EQ(m_client->OpcUaSetValue(&node, buffer, size), 0);
        const auto requests = script().requests<WriteRequest>();
        if (requests.size() != 1 || requests[0].items.size() != 1)
            throw std::logic_error("not exactly one value written");
        return requests[0].items[0];
    }

    OpcUaNode m_node = makeNode("ns=2;s=A", OpcUaDataType_Int32);
    int m_value = 7;
    int m_size = 4;
};

struct WidthRow {
    const char* name;
    int type;
    int width;
};

class WriteNumber : public WriteValue, public ::testing::WithParamInterface<WidthRow> {
protected:
    static std::string sent(const WriteItem& item) {
        return std::string(static_cast<const char*>(item.value.raw().data),
                           static_cast<std::size_t>(GetParam().width));
    }
};

constexpr WidthRow widths[] = {{"SByte", 2, 1},  {"Byte", 3, 1},   {"Int16", 4, 2}, {"UInt16", 5, 2},
                               {"Int32", 6, 4},  {"UInt32", 7, 4}, {"Int64", 8, 8}, {"UInt64", 9, 8},
                               {"Float", 10, 4}, {"Double", 11, 8}};

} // namespace

TEST_P(WriteNumber, TakesAtMostItsWidth) {
    const int width = GetParam().width;
    const std::string bytes = "\x81\x92\xA3\x34\x45\x56\x67\x38";
    for (const int entry : {0, 1, width - 1, width, width + 1, 1000, INT_MAX, -1, INT_MIN}) {
        const int taken = std::max(0, std::min(entry, width));
        // On the heap and exactly as long as the caller says: reading on would be seen by the sanitizer.
        const std::vector<char> buffer(bytes.begin(), bytes.begin() + taken);
        const char nothing = 'x';
        int size = entry;
        const WriteItem item = write(GetParam().type, taken == 0 ? &nothing : buffer.data(), size);
        EXPECT_EQ(size, std::min(entry, width)) << entry;
        EXPECT_EQ(static_cast<int>(item.value.type()), GetParam().type);
        std::string expected(static_cast<std::size_t>(width), '\0');
        expected.replace(0, static_cast<std::size_t>(taken), bytes, 0, static_cast<std::size_t>(taken));
        EXPECT_EQ(sent(item), expected) << "missing bytes are zero; size " << entry;
    }
}

INSTANTIATE_TEST_SUITE_P(EveryType, WriteNumber, ::testing::ValuesIn(widths),
                         [](const auto& row) { return row.param.name; });

TEST_F(WriteValue, BooleanIsTrueForAnyOtherByteThanZero) {
    for (const auto& [byte, expected] : std::vector<std::pair<unsigned char, bool>>{
             {0, false}, {1, true}, {2, true}, {0x80, true}, {255, true}}) {
        int size = 1;
        const WriteItem item = write(OpcUaDataType_Boolean, &byte, size);
        ASSERT_EQ(item.value.type(), OpcUaType_Boolean);
        EXPECT_EQ(static_cast<int>(*static_cast<const unsigned char*>(item.value.raw().data)),
                  expected ? 1 : 0);
        EXPECT_EQ(size, 1);
    }
}

TEST_F(WriteValue, BooleanTakesAtMostOneByte) {
    const unsigned char bytes[8] = {1, 0, 0, 0, 0, 0, 0, 0};
    for (const auto& [entry, expected, after] : std::vector<std::tuple<int, bool, int>>{
             {0, false, 0}, {-1, false, -1}, {1, true, 1}, {2, true, 1}, {8, true, 1}}) {
        int size = entry;
        const WriteItem item = write(OpcUaDataType_Boolean, bytes, size);
        EXPECT_EQ(*static_cast<const OpcUa_Boolean*>(item.value.raw().data), expected) << entry;
        EXPECT_EQ(size, after);
    }
}

TEST_F(WriteValue, Int32WithSizeEightTakesTheFirstFourBytes) {
    const int buffer[2] = {-123456, 99};
    int size = 8;
    const WriteItem item = write(OpcUaDataType_Int32, buffer, size);
    OpcUa_Int32 value = 0;
    EXPECT_EQ(item.value.toInt32(value), OpcUa_Good);
    EXPECT_EQ(value, -123456);
    EXPECT_EQ(size, 4);
}

TEST_F(WriteValue, TextEndsAtItsTerminatorWhateverTheSizeSays) {
    for (const std::string& text : {std::string("Hello"), std::string(), std::string("\xE9\x94\x85"),
                                    std::string(255, 't'), std::string(256, 't'), std::string(100000, 't')}) {
        for (const int entry : {0, 3, 5, 1000, INT_MAX, -1, INT_MIN}) {
            int size = entry;
            const WriteItem item = write(OpcUaDataType_String, text.c_str(), size);
            ASSERT_EQ(item.value.type(), OpcUaType_String);
            EXPECT_EQ(item.value.toString().text(), text);
            EXPECT_EQ(size, entry);
        }
    }
}

TEST_F(WriteValue, TypeNullAndUnknownTypesSendAnEmptyValue) {
    for (const int type : {0, 13, 22, INT_MAX, -1, INT_MIN}) {
        int size = 1000;
        const char byte = 1;
        EXPECT_TRUE(write(type, &byte, size).value.isEmpty()) << type;
        EXPECT_EQ(size, 1000);
    }
}

TEST_F(WriteValue, RefusalOfAnEmptyValueIsReported) {
    script().onWrite = [](const WriteRequest& request, UaStatusCodeArray& results) {
        results.create(1);
        results[0] = request.items[0].value.isEmpty() ? badStatus : OpcUa_Good;
        return UaStatus();
    };
    for (const int type : {0, 13}) {
        m_node = makeNode("ns=2;s=A", type);
        EXPECT_EQ(m_client->OpcUaSetValue(&m_node, &m_value, m_size), 8);
    }
}

TEST_F(WriteValue, SendsOneValueAttributeAlone) {
    EXPECT_EQ(m_client->OpcUaSetValue(&m_node, &m_value, m_size), 0);
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::isConnected", "UaSession::write"));
    const WriteRequest request = script().requests<WriteRequest>().at(0);
    EXPECT_EQ(request.settings.callTimeout, 10000);
    ASSERT_THAT(request.items, SizeIs(1));
    EXPECT_EQ(request.items[0].nodeId, "ns=2;s=A");
    EXPECT_EQ(request.items[0].attributeId, 13U);
    EXPECT_EQ(request.items[0].indexRange, "");
    EXPECT_TRUE(request.items[0].hasValue);
    EXPECT_FALSE(request.items[0].hasStatus);
    EXPECT_FALSE(request.items[0].hasTimestamps);
    EXPECT_FALSE(request.items[0].value.isArray());
    EXPECT_EQ(message(), "");
}

TEST_F(WriteValue, NamesTheNodeAsTheRecordDoes) {
    const std::string full = "ns=2;s=" + std::string(249, 'x');
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"ns=0;i=85", "i=85"}, {full, full}, {"no node id", UaNodeId().toXmlString().text()}};
    for (const auto& [text, expected] : rows) {
        script().forgetCalls();
        OpcUaNode node = makeNode(text, OpcUaDataType_Int32);
        node.result = 0x41414141;
        EXPECT_EQ(m_client->OpcUaSetValue(&node, &m_value, m_size), 0);
        EXPECT_EQ(script().requests<WriteRequest>().at(0).items.at(0).nodeId, expected);
    }
}

TEST_F(WriteValue, LeavesRecordAndBufferAlone) {
    OpcUaNode before;
    m_node.result = 33;
    std::memcpy(&before, &m_node, sizeof(before));
    EXPECT_EQ(m_client->OpcUaSetValue(&m_node, &m_value, m_size), 0);
    EXPECT_EQ(std::memcmp(&before, &m_node, sizeof(before)), 0);
    EXPECT_EQ(m_value, 7);
}

TEST_F(WriteValue, HoldsTheClientMutexForTheCall) {
    EXPECT_EQ(m_client->OpcUaSetValue(&m_node, &m_value, m_size), 0);
    for (const standin::Call& call : script().calls())
        EXPECT_THAT(call.surroundings.heldMutexes, ElementsAre(mutex_watch::clientMutex)) << call.operation;
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::clientMutex));
}

TEST_F(WriteValue, NullArgumentsAreRefusedWithoutLock) {
    EXPECT_EQ(m_client->OpcUaSetValue(nullptr, &m_value, m_size), 29);
    EXPECT_EQ(message(), messages::invalidArgument);
    EXPECT_EQ(m_client->OpcUaSetValue(&m_node, nullptr, m_size), 29);
    EXPECT_EQ(m_client->OpcUaSetValue(nullptr, nullptr, m_size), 29);
    EXPECT_THAT(script().operations(), IsEmpty());
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
}

TEST_F(WriteValue, NullArgumentsComeBeforeTheConnection) {
    ASSERT_EQ(m_client->OpcUaDisConnect(), 0);
    EXPECT_EQ(m_client->OpcUaSetValue(&m_node, nullptr, m_size), 29);
    EXPECT_EQ(m_client->OpcUaSetValue(&m_node, &m_value, m_size), 3);
}

TEST_F(WriteValue, WithoutSessionIsRefusedUnderTheLock) {
    ASSERT_EQ(m_client->OpcUaDisConnect(), 0);
    script().forgetCalls();
    mutex_watch::forgetLocks();
    m_size = 1000;
    EXPECT_EQ(m_client->OpcUaSetValue(&m_node, &m_value, m_size), 3);
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_EQ(m_size, 1000) << "refused before the size is looked at";
    EXPECT_THAT(script().operations(), IsEmpty());
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::clientMutex));
}

TEST_F(WriteValue, LostConnectionIsRefusedWithoutAskingTheServer) {
    script().onIsConnected = [] { return false; };
    EXPECT_EQ(m_client->OpcUaSetValue(&m_node, &m_value, m_size), 3);
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::isConnected"));
}

namespace {

class WriteAnswer : public WriteValue {
protected:
    int writeAnswered(OpcUa_StatusCode service, const std::vector<OpcUa_StatusCode>& nodes) {
        script().onWrite = [=](const WriteRequest&, UaStatusCodeArray& results) {
            results.create(static_cast<OpcUa_UInt32>(nodes.size()));
            std::copy(nodes.begin(), nodes.end(), results.rawData());
            return UaStatus(service);
        };
        return m_client->OpcUaSetValue(&m_node, &m_value, m_size);
    }
};

} // namespace

TEST_F(WriteAnswer, BadServiceFails) {
    for (const OpcUa_StatusCode status : {badStatus, bothBitsStatus}) {
        EXPECT_EQ(writeAnswered(status, {OpcUa_Good}), 8);
        EXPECT_EQ(message(), messages::writeFailed);
    }
}

TEST_F(WriteAnswer, BadServiceWithoutResultsFails) {
    EXPECT_EQ(writeAnswered(badStatus, {}), 8);
}

TEST_F(WriteAnswer, UncertainServiceWithAGoodResultSucceeds) {
    EXPECT_EQ(writeAnswered(uncertainStatus, {OpcUa_Good}), 0);
    EXPECT_EQ(writeAnswered(goodWithDetails, {goodWithDetails}), 0);
    EXPECT_EQ(message(), "");
}

TEST_F(WriteAnswer, ResultThatIsNotGoodFails) {
    for (const OpcUa_StatusCode status : {badStatus, uncertainStatus, bothBitsStatus}) {
        EXPECT_EQ(writeAnswered(OpcUa_Good, {status}), 8);
        EXPECT_EQ(message(), messages::writeFailed);
    }
}

TEST_F(WriteAnswer, OnlyTheFirstResultCounts) {
    EXPECT_EQ(writeAnswered(OpcUa_Good, {OpcUa_Good, badStatus}), 0);
    EXPECT_EQ(writeAnswered(OpcUa_Good, {badStatus, OpcUa_Good}), 8);
}

TEST_F(WriteAnswer, NoResultAtAllFails) {
    EXPECT_EQ(writeAnswered(OpcUa_Good, {}), 8);
    EXPECT_EQ(message(), messages::writeFailed);
}

TEST_F(WriteAnswer, FailureStillCutsTheSize) {
    m_size = 100;
    EXPECT_EQ(writeAnswered(badStatus, {}), 8);
    EXPECT_EQ(m_size, 4);
}

TEST_F(WriteAnswer, FailureReleasesTheLockForTheNextCall) {
    EXPECT_EQ(writeAnswered(badStatus, {}), 8);
    EXPECT_EQ(writeAnswered(OpcUa_Good, {OpcUa_Good}), 0);
    EXPECT_EQ(message(), messages::writeFailed) << "success keeps the earlier message";
}
