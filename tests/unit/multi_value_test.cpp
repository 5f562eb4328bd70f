#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <deque>
#include <string>
#include <tuple>
#include <vector>

#include "array_values.h"
#include "client_test.h"

using standin::ReadRequest;
using standin::WriteItem;
using standin::WriteRequest;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr int untouchedResult = 0x41414141;

/// Which batches of how many records a call of `count` records is cut into.
std::vector<std::size_t> batchesOf(int count) {
    std::vector<std::size_t> batches(static_cast<std::size_t>(count / 20), 20);
    if (count % 20 != 0)
        batches.push_back(static_cast<std::size_t>(count % 20));
    return batches;
}

template <typename Request>
std::vector<std::size_t> sentBatches() {
    std::vector<std::size_t> batches;
    for (const Request& request : script().requests<Request>())
        batches.push_back(request.items.size());
    return batches;
}

template <typename Request>
std::vector<std::string> sentNodeIds() {
    std::vector<std::string> ids;
    for (const Request& request : script().requests<Request>())
        for (const auto& item : request.items)
            ids.push_back(item.nodeId);
    return ids;
}

/// Number of the batch that the request now being answered belongs to, beginning with 0.
template <typename Request>
std::size_t currentBatch() {
    return script().requests<Request>().size() - 1;
}

class MultiValue : public ClientTest {
protected:
    MultiValue() { connect(); }

    OpcUaNode& addNode(int dataType) {
        m_nodes.push_back(makeNode("ns=2;s=" + std::to_string(m_nodes.size()), dataType));
        m_nodes.back().result = untouchedResult;
        return m_nodes.back();
    }
    GuardedBuffer& addBuffer(std::size_t size) {
        m_buffers.emplace_back(size);
        return m_buffers.back();
    }

    std::vector<int> results() const {
        std::vector<int> all;
        for (const OpcUaNode& node : m_nodes)
            all.push_back(node.result);
        return all;
    }
    std::vector<std::string> nodeIds() const {
        std::vector<std::string> all;
        for (const OpcUaNode& node : m_nodes)
            all.push_back(fieldText(node.nodeId));
        return all;
    }
    /// Results of three batches of 20, 20 and 5 of which the middle one has `code`.
    static std::vector<int> middleBatch(int code) {
        std::vector<int> expected(45, 0);
        std::fill_n(expected.begin() + 20, 20, code);
        return expected;
    }

    std::deque<OpcUaNode> m_nodes;
    std::deque<GuardedBuffer> m_buffers;
};

class MultiRead : public MultiValue {
protected:
    MultiRead() { script().onRead = answerValue(int32Variant(7)); }

    void add(int dataType, std::size_t capacity, int size) {
        m_reads.push_back({&addNode(dataType), addBuffer(capacity).data(), size});
    }
    void addInt32(int count) {
        for (int i = 0; i < count; ++i)
            add(OpcUaDataType_Int32, 4, 0);
    }
    int read() { return m_client->OpcUaGetMultiValue(m_reads.data(), static_cast<int>(m_reads.size())); }

    /// Answers the middle batch of 45 in another way than the others.
    void answerMiddleBatch(const ReadAnswer& answer) {
        script().onRead = [answer](const ReadRequest& request, UaDataValues& values) {
            return currentBatch<ReadRequest>() == 1 ? answer(request, values)
                                                    : answerValue(int32Variant(7))(request, values);
        };
    }
    /// The buffers of the middle batch of 45 are as they were, the others filled.
    void expectMiddleBatchUntouched() {
        for (std::size_t i = 0; i < 45; ++i) {
            const bool middle = i >= 20 && i < 40;
            EXPECT_EQ(m_buffers[i].untouched(), middle) << i;
            EXPECT_EQ(m_reads[i].size, middle ? 0 : 4) << i;
        }
    }

    std::vector<OpcUa_ReadNode> m_reads;
};

class MultiWrite : public MultiValue {
protected:
    void add(int dataType, const void* value, int size) {
        m_writes.push_back({&addNode(dataType), const_cast<void*>(value), size});
    }
    void addInt32(int count) {
        m_numbers.resize(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            m_numbers[static_cast<std::size_t>(i)] = 1000 + i;
            add(OpcUaDataType_Int32, &m_numbers[static_cast<std::size_t>(i)], 4);
        }
    }
    int write() { return m_client->OpcUaSetMultiValue(m_writes.data(), static_cast<int>(m_writes.size())); }

    static std::vector<UaVariant> sentValues() {
        std::vector<UaVariant> values;
        for (const WriteRequest& request : script().requests<WriteRequest>())
            for (const WriteItem& item : request.items)
                values.push_back(item.value);
        return values;
    }
    static std::vector<std::string> sentTexts() {
        std::vector<std::string> texts;
        for (const UaVariant& value : sentValues())
            texts.push_back(value.isEmpty() ? "empty" : value.toString().text());
        return texts;
    }
    static void answerStatuses(const std::vector<OpcUa_StatusCode>& statuses) {
        script().onWrite = [statuses](const WriteRequest&, UaStatusCodeArray& answers) {
            answers.create(static_cast<OpcUa_UInt32>(statuses.size()));
            std::copy(statuses.begin(), statuses.end(), answers.rawData());
            return UaStatus();
        };
    }
    static void answerMiddleBatch(OpcUa_StatusCode service, OpcUa_UInt32 answersGiven) {
        script().onWrite = [=](const WriteRequest& request, UaStatusCodeArray& answers) {
            const bool middle = currentBatch<WriteRequest>() == 1;
            answers.create(middle ? answersGiven : static_cast<OpcUa_UInt32>(request.items.size()));
            return UaStatus(middle ? service : OpcUa_Good);
        };
    }

    std::vector<OpcUa_WriteNode> m_writes;
    std::vector<int> m_numbers;
};

class BatchCount : public ::testing::WithParamInterface<int> {};
class ReadBatches : public MultiRead, public BatchCount {};
class WriteBatches : public MultiWrite, public BatchCount {};
const auto counts = ::testing::Values(1, 19, 20, 21, 40, 45, 10000);

} // namespace

TEST_P(ReadBatches, AreFilledAndSentInOrder) {
    addInt32(GetParam());
    script().onRead = [](const ReadRequest& request, UaDataValues& values) {
        values.create(static_cast<OpcUa_UInt32>(request.items.size()));
        for (OpcUa_UInt32 i = 0; i < values.length(); ++i)
            stringVariant(request.items[i].nodeId.substr(7)).copyTo(&values[i].value);
        return UaStatus();
    };
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(sentBatches<ReadRequest>(), batchesOf(GetParam()));
    EXPECT_EQ(sentNodeIds<ReadRequest>(), nodeIds());
    EXPECT_THAT(results(), Each(0));
    for (std::size_t i = 0; i < m_reads.size(); ++i) {
        EXPECT_EQ(m_buffers[i].as<int>(), static_cast<int>(i));
        EXPECT_EQ(m_reads[i].size, 4);
        EXPECT_TRUE(m_buffers[i].guardsIntact());
    }
    EXPECT_EQ(message(), "");
}

TEST_P(WriteBatches, AreFilledAndSentInOrder) {
    addInt32(GetParam());
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(sentBatches<WriteRequest>(), batchesOf(GetParam()));
    EXPECT_EQ(sentNodeIds<WriteRequest>(), nodeIds());
    EXPECT_THAT(results(), Each(0));
    std::vector<std::string> expected;
    for (const int number : m_numbers)
        expected.push_back(std::to_string(number));
    EXPECT_EQ(sentTexts(), expected);
    EXPECT_EQ(message(), "");
}

INSTANTIATE_TEST_SUITE_P(Of, ReadBatches, counts, ::testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Of, WriteBatches, counts, ::testing::PrintToStringParamName());

TEST_F(MultiRead, AsksForValueAttributes) {
    addInt32(21);
    EXPECT_EQ(read(), 0);
    EXPECT_THAT(script().operations(),
                ElementsAre("UaSession::isConnected", "UaSession::read", "UaSession::read"));
    for (const ReadRequest& request : script().requests<ReadRequest>()) {
        EXPECT_EQ(request.settings.callTimeout, 10000);
        EXPECT_EQ(request.maxAge, 0);
        EXPECT_EQ(request.timestamps, OpcUa_TimestampsToReturn_Both);
        for (const standin::ReadItem& item : request.items) {
            EXPECT_EQ(item.attributeId, 13U);
            EXPECT_EQ(item.indexRange, "");
            EXPECT_EQ(item.dataEncoding, "");
        }
    }
}

TEST_F(MultiWrite, SendsValuesAlone) {
    addInt32(21);
    EXPECT_EQ(write(), 0);
    EXPECT_THAT(script().operations(),
                ElementsAre("UaSession::isConnected", "UaSession::write", "UaSession::write"));
    for (const WriteRequest& request : script().requests<WriteRequest>()) {
        EXPECT_EQ(request.settings.callTimeout, 10000);
        for (const WriteItem& item : request.items) {
            EXPECT_EQ(item.attributeId, 13U);
            EXPECT_EQ(item.indexRange, "");
            EXPECT_TRUE(item.hasValue);
            EXPECT_FALSE(item.hasStatus);
            EXPECT_FALSE(item.hasTimestamps);
        }
    }
}

TEST_F(MultiRead, EveryTypeFollowsTheBufferConvention) {
    for (const ExampleType& type : exampleTypes()) {
        const std::size_t stored = type.element(1).size() + (type.isText() ? 1 : 0);
        add(type.number(), stored, type.isText() ? static_cast<int>(stored) : -5);
    }
    script().onRead = [](const ReadRequest& request, UaDataValues& values) {
        values.create(static_cast<OpcUa_UInt32>(request.items.size()));
        for (OpcUa_UInt32 i = 0; i < values.length(); ++i) {
            const ExampleType& type = exampleTypes()[i];
            const UaVariant value = type.isText() ? stringVariant(type.element(1))
                                                  : scalarVariant(type.type, type.element(1).data());
            value.copyTo(&values[i].value);
        }
        return UaStatus();
    };
    EXPECT_EQ(read(), 0);
    EXPECT_THAT(results(), Each(0));
    for (std::size_t i = 0; i < m_reads.size(); ++i) {
        const std::string expected = exampleTypes()[i].element(1);
        EXPECT_EQ(m_reads[i].size, static_cast<int>(expected.size())) << exampleTypes()[i];
        EXPECT_EQ(m_buffers[i].bytes(expected.size()), expected);
        EXPECT_TRUE(m_buffers[i].guardsIntact());
    }
}

TEST_F(MultiWrite, EveryTypeFollowsTheBufferConvention) {
    std::deque<std::string> bytes;
    for (const ExampleType& type : exampleTypes()) {
        bytes.push_back(type.element(1));
        add(type.number(), bytes.back().c_str(), 1000);
    }
    EXPECT_EQ(write(), 0);
    EXPECT_THAT(results(), Each(0));
    const std::vector<UaVariant> values = sentValues();
    ASSERT_THAT(values, SizeIs(exampleTypes().size()));
    for (std::size_t i = 0; i < values.size(); ++i) {
        const ExampleType& type = exampleTypes()[i];
        EXPECT_EQ(values[i].type(), type.type);
        EXPECT_EQ(elementBytes(values[i], 0), type.element(1)) << type;
        EXPECT_EQ(m_writes[i].size, type.isText() ? 1000 : static_cast<int>(type.element(1).size()));
    }
}

TEST_F(MultiRead, TextsFollowTheCapacityRule) {
    script().onRead = answerValue(stringVariant("Hello"));
    const std::vector<std::tuple<int, std::string, int>> rows = {{16, std::string("Hello\0", 6), 5},
                                                                 {6, std::string("Hello\0", 6), 5},
                                                                 {5, "Hello", 4},
                                                                 {4, "Hell", 3},
                                                                 {1, "H", 0},
                                                                 {0, "", -1},
                                                                 {-1, "", -2}};
    for (const auto& [capacity, stored, sizeAfter] : rows)
        add(OpcUaDataType_String, stored.size(), capacity);
    EXPECT_EQ(read(), 0);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto& [capacity, stored, sizeAfter] = rows[i];
        EXPECT_EQ(m_reads[i].size, sizeAfter) << capacity;
        EXPECT_EQ(m_buffers[i].bytes(stored.size()), stored);
        EXPECT_TRUE(m_buffers[i].guardsIntact());
    }
}

TEST_F(MultiRead, TypesWithoutABufferFormSucceedAndWriteNothing) {
    for (const int type : {0, 13, 22, INT_MAX, -1, INT_MIN})
        add(type, 8, 5);
    EXPECT_EQ(read(), 0);
    EXPECT_THAT(results(), Each(0));
    for (std::size_t i = 0; i < m_reads.size(); ++i) {
        EXPECT_EQ(m_reads[i].size, i == 0 ? 0 : 5);
        EXPECT_TRUE(m_buffers[i].untouched());
    }
}

TEST_F(MultiRead, ValuesThatCannotBeConvertedGiveZeroAndSuccess) {
    const OpcUa_Int32 elements[2] = {5, 6};
    const std::vector<UaVariant> values = {UaVariant(), stringVariant("speed"), doubleVariant(1e300),
                                           arrayVariant(OpcUaType_Int32, elements, 2)};
    for (const UaVariant& value : values) {
        script().onRead = answerValue(value);
        m_reads.clear();
        add(OpcUaDataType_Int32, 4, 0);
        EXPECT_EQ(read(), 0);
        EXPECT_EQ(m_nodes.back().result, 0);
        EXPECT_EQ(m_buffers.back().as<int>(), 0);
    }
    EXPECT_EQ(message(), "");
}

TEST_F(MultiRead, NodeThatIsNotGoodFailsAlone) {
    addInt32(5);
    const OpcUa_StatusCode statuses[] = {goodWithDetails, badStatus, uncertainStatus, bothBitsStatus,
                                         OpcUa_Good};
    script().onRead = [&](const ReadRequest& request, UaDataValues& values) {
        answerValue(int32Variant(7))(request, values);
        for (OpcUa_UInt32 i = 0; i < 5; ++i)
            values[i].status = statuses[i];
        return UaStatus();
    };
    EXPECT_EQ(read(), 0);
    EXPECT_THAT(results(), ElementsAre(0, 7, 7, 7, 0));
    EXPECT_EQ(message(), messages::readFailed);
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(m_buffers[i].untouched(), i >= 1 && i <= 3);
}

TEST_F(MultiWrite, NodeThatIsRefusedFailsAlone) {
    addInt32(5);
    answerStatuses({goodWithDetails, badStatus, uncertainStatus, bothBitsStatus, OpcUa_Good});
    EXPECT_EQ(write(), 0);
    EXPECT_THAT(results(), ElementsAre(0, 8, 8, 8, 0));
    EXPECT_EQ(message(), messages::writeFailed);
}

TEST_F(MultiRead, FailedBatchDoesNotStopTheOthers) {
    for (const OpcUa_StatusCode status : {badStatus, bothBitsStatus, OpcUa_BadTooManyOperations}) {
        m_nodes.clear();
        m_buffers.clear();
        m_reads.clear();
        addInt32(45);
        script().forgetCalls();
        storeEarlierMessage();
        answerMiddleBatch([status](const ReadRequest& request, UaDataValues& values) {
            answerValue(int32Variant(7))(request, values);
            return UaStatus(status);
        });
        EXPECT_EQ(read(), 0);
        EXPECT_EQ(results(), middleBatch(7));
        EXPECT_EQ(message(), messages::readFailed) << "the good batch behind it clears nothing";
        expectMiddleBatchUntouched();
    }
}

TEST_F(MultiWrite, FailedBatchDoesNotStopTheOthers) {
    addInt32(45);
    for (const OpcUa_StatusCode status : {badStatus, bothBitsStatus, OpcUa_BadTooManyOperations}) {
        script().forgetCalls();
        storeEarlierMessage();
        answerMiddleBatch(status, 20);
        EXPECT_EQ(write(), 0);
        EXPECT_EQ(results(), middleBatch(8));
        EXPECT_EQ(message(), messages::writeFailed);
    }
}

TEST_F(MultiRead, AnswerOfAnotherLengthFailsItsBatch) {
    for (const OpcUa_UInt32 length : {0U, 1U, 19U, 21U, 1000U}) {
        m_nodes.clear();
        m_buffers.clear();
        m_reads.clear();
        addInt32(45);
        script().forgetCalls();
        storeEarlierMessage();
        answerMiddleBatch([length](const ReadRequest&, UaDataValues& values) {
            values.create(length);
            for (OpcUa_UInt32 i = 0; i < length; ++i)
                int32Variant(9).copyTo(&values[i].value);
            return UaStatus();
        });
        EXPECT_EQ(read(), 0);
        EXPECT_EQ(results(), middleBatch(7)) << length;
        EXPECT_EQ(message(), messages::readFailed);
        expectMiddleBatchUntouched();
    }
}

TEST_F(MultiWrite, AnswerOfAnotherLengthFailsItsBatch) {
    addInt32(45);
    for (const OpcUa_UInt32 length : {0U, 1U, 19U, 21U, 1000U}) {
        script().forgetCalls();
        storeEarlierMessage();
        answerMiddleBatch(OpcUa_Good, length);
        EXPECT_EQ(write(), 0);
        EXPECT_EQ(results(), middleBatch(8)) << length;
        EXPECT_EQ(message(), messages::writeFailed);
    }
}

TEST_F(MultiRead, UncertainServiceIsNoFailure) {
    addInt32(2);
    script().onRead = [](const ReadRequest& request, UaDataValues& values) {
        answerValue(int32Variant(7))(request, values);
        return UaStatus(uncertainStatus);
    };
    EXPECT_EQ(read(), 0);
    EXPECT_THAT(results(), Each(0));
    EXPECT_EQ(message(), "");
}

TEST_F(MultiWrite, UncertainServiceIsNoFailure) {
    addInt32(2);
    script().onWrite = [](const WriteRequest&, UaStatusCodeArray& answers) {
        answers.create(2);
        return UaStatus(uncertainStatus);
    };
    EXPECT_EQ(write(), 0);
    EXPECT_THAT(results(), Each(0));
}

TEST_F(MultiWrite, MessageIsThatOfTheLastFailure) {
    storeEarlierMessage();
    addInt32(2);
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(message(), earlierMessage);
    answerStatuses({badStatus, OpcUa_Good});
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(message(), messages::writeFailed);
}

TEST_F(MultiWrite, RecordWithoutATypeWritesWhatTheOneBeforeItWrote) {
    const int number = 42;
    const short narrow = -3;
    add(0, &number, 4);
    add(OpcUaDataType_Int32, &number, 4);
    add(0, &narrow, 2);
    add(13, &narrow, 2);
    add(OpcUaDataType_String, "text", 0);
    add(INT_MIN, &narrow, 2);
    add(OpcUaDataType_Int16, &narrow, 2);
    add(INT_MAX, &number, 4);
    EXPECT_EQ(write(), 0);
    EXPECT_THAT(sentTexts(), ElementsAre("empty", "42", "42", "42", "text", "text", "-3", "-3"));
    EXPECT_EQ(sentNodeIds<WriteRequest>(), nodeIds());
    const std::vector<UaVariant> values = sentValues();
    EXPECT_EQ(values[3].type(), OpcUaType_Int32);
    EXPECT_EQ(values[7].type(), OpcUaType_Int16);
    EXPECT_EQ(m_writes[2].size, 2) << "nothing is taken from it";
}

TEST_F(MultiWrite, NothingIsCarriedIntoTheNextBatch) {
    addInt32(20);
    add(0, m_numbers.data(), 4);
    add(13, m_numbers.data(), 4);
    EXPECT_EQ(write(), 0);
    const std::vector<std::string> texts = sentTexts();
    ASSERT_THAT(texts, SizeIs(22));
    EXPECT_EQ(texts[19], "1019");
    EXPECT_EQ(texts[20], "empty");
    EXPECT_EQ(texts[21], "empty");
}

TEST_F(MultiWrite, TakesAtMostTheWidthAndFillsUpWithZeros) {
    // On the heap and as long as the caller says: reading on would be seen by the sanitizer.
    const std::vector<char> bytes = {'\x81', '\x12'};
    const std::vector<char> one = {'\x81'};
    for (const int size : {16, 2, INT_MAX})
        add(OpcUaDataType_Int16, bytes.data(), size);
    add(OpcUaDataType_Int16, one.data(), 1);
    for (const int size : {0, -1, INT_MIN})
        add(OpcUaDataType_Int16, one.data(), size);
    EXPECT_EQ(write(), 0);
    EXPECT_THAT(sentTexts(), ElementsAre("4737", "4737", "4737", "129", "0", "0", "0"));
    std::vector<int> sizes;
    for (const OpcUa_WriteNode& node : m_writes)
        sizes.push_back(node.size);
    EXPECT_THAT(sizes, ElementsAre(2, 2, 2, 1, 0, -1, INT_MIN));
}

TEST_F(MultiWrite, SizesAreCutAlsoWhenTheServerRefuses) {
    const long value = 1;
    add(OpcUaDataType_Int16, &value, 8);
    answerStatuses({badStatus});
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(m_writes[0].size, 2);
}

TEST_F(MultiRead, OneNodeMayBeNamedTwice) {
    OpcUaNode& node = addNode(OpcUaDataType_Int32);
    GuardedBuffer& first = addBuffer(4);
    GuardedBuffer& second = addBuffer(4);
    m_reads = {{&node, first.data(), 0}, {&node, second.data(), 0}};
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(first.as<int>(), 7);
    EXPECT_EQ(second.as<int>(), 7);
    EXPECT_EQ(node.result, 0);
}

TEST_F(MultiRead, InvalidNodeIdGoesToTheServerAsTheNullNodeId) {
    addInt32(2);
    setField(m_nodes[0].nodeId, "no node id");
    EXPECT_EQ(read(), 0);
    EXPECT_THAT(sentNodeIds<ReadRequest>(), ElementsAre(UaNodeId().toXmlString().text(), "ns=2;s=1"));
}

TEST_F(MultiRead, ChangesNothingInARecordButTheResult) {
    addInt32(1);
    OpcUaNode expected;
    std::memcpy(&expected, &m_nodes[0], sizeof(expected));
    expected.result = 0;
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(std::memcmp(&expected, &m_nodes[0], sizeof(expected)), 0);
}

TEST_F(MultiRead, BatchesNeedNotWaitForEachOther) {
    addInt32(45);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(script().sequences(), 1);
    EXPECT_EQ(sentBatches<ReadRequest>(), batchesOf(45));
}

TEST_F(MultiWrite, BatchesWaitForEachOther) {
    addInt32(45);
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(script().sequences(), 0);
}

TEST_F(MultiRead, HoldsTheClientMutexOverAllBatches) {
    addInt32(45);
    EXPECT_EQ(read(), 0);
    for (const standin::Call& call : script().calls())
        EXPECT_THAT(call.surroundings.heldMutexes, ElementsAre(mutex_watch::clientMutex)) << call.operation;
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::clientMutex));
    EXPECT_THAT(mutex_watch::held(), IsEmpty());
}

TEST_F(MultiWrite, HoldsTheClientMutexOverAllBatches) {
    addInt32(45);
    EXPECT_EQ(write(), 0);
    for (const standin::Call& call : script().calls())
        EXPECT_THAT(call.surroundings.heldMutexes, ElementsAre(mutex_watch::clientMutex)) << call.operation;
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::clientMutex));
    EXPECT_THAT(mutex_watch::held(), IsEmpty());
}

TEST_F(MultiRead, InvalidArgumentsTouchNoRecordAndTakeNoLock) {
    addInt32(1);
    for (const int count : {0, -1, INT_MIN})
        EXPECT_EQ(m_client->OpcUaGetMultiValue(m_reads.data(), count), 29);
    EXPECT_EQ(m_client->OpcUaGetMultiValue(nullptr, 1), 29);
    EXPECT_EQ(message(), messages::invalidArgument);
    EXPECT_THAT(results(), Each(untouchedResult));
    EXPECT_THAT(script().operations(), IsEmpty());
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
}

TEST_F(MultiWrite, InvalidArgumentsTouchNoRecordAndTakeNoLock) {
    addInt32(1);
    for (const int count : {0, -1, INT_MIN})
        EXPECT_EQ(m_client->OpcUaSetMultiValue(m_writes.data(), count), 29);
    EXPECT_EQ(m_client->OpcUaSetMultiValue(nullptr, 1), 29);
    EXPECT_EQ(message(), messages::invalidArgument);
    EXPECT_THAT(results(), Each(untouchedResult));
    EXPECT_THAT(script().operations(), IsEmpty());
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
}

TEST_F(MultiRead, WithoutSessionEveryNodeHasThreeAndTheCallZero) {
    ASSERT_EQ(m_client->OpcUaDisConnect(), 0);
    addInt32(45);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_THAT(results(), Each(3));
    EXPECT_THAT(sentBatches<ReadRequest>(), IsEmpty());
}

TEST_F(MultiWrite, WithoutSessionEveryNodeHasThreeAndTheCallZero) {
    ASSERT_EQ(m_client->OpcUaDisConnect(), 0);
    const long value = 1;
    add(OpcUaDataType_Int16, &value, 8);
    EXPECT_EQ(write(), 0);
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_THAT(results(), Each(3));
    EXPECT_EQ(m_writes[0].size, 8) << "refused before the sizes are looked at";
    EXPECT_THAT(sentBatches<WriteRequest>(), IsEmpty());
}

TEST_F(MultiRead, LostConnectionGivesThreeToAll) {
    script().onIsConnected = [] { return false; };
    addInt32(45);
    EXPECT_EQ(read(), 3);
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_THAT(results(), Each(3));
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::isConnected"));
}

TEST_F(MultiWrite, LostConnectionGivesThreeToAll) {
    script().onIsConnected = [] { return false; };
    addInt32(45);
    EXPECT_EQ(write(), 3);
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_THAT(results(), Each(3));
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::isConnected"));
}
