#include <cstddef>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <open62541/types_generated_handling.h>

#include "support/held_memory.h"
#include "uabase/notifications.h"

namespace {

void append(UaMonitoredItemNotifications& list, OpcUa_UInt32 handle, const UaVariant& value,
            OpcUa_StatusCode status = OpcUa_Good) {
    OpcUa_DataValue change = {};
    value.copyTo(&change.value);
    change.status = status;
    list.append(handle, change);
    UA_clear(&change, &UA_TYPES[UA_TYPES_DATAVALUE]);
}

UaVariant number(OpcUa_Int32 value) {
    UaVariant variant;
    variant.setInt32(value);
    return variant;
}

UaVariant text(const std::string& value) {
    return UaVariant(UaString(value.c_str()));
}

/// "handle:value" of each, parted by blanks.
std::string shown(const UaMonitoredItemNotifications& list) {
    std::string result;
    for (OpcUa_UInt32 i = 0; i < list.length(); ++i)
        result += std::to_string(list[i].clientHandle) + ':' + list[i].value.toString().text() + ' ';
    return result;
}

TEST(Notifications, KeepOrderHandleStatusAndValue) {
    UaMonitoredItemNotifications list;
    append(list, 7, number(1));
    append(list, 8, text("two"), 0x40000000);
    append(list, 7, number(3));
    EXPECT_EQ(shown(list), "7:1 8:two 7:3 ");
    EXPECT_EQ(list[0].status, OpcUa_Good);
    EXPECT_EQ(list[1].status, 0x40000000U);
}

TEST(Notifications, TakeATextOverAndCopyANumber) {
    UaMonitoredItemNotifications list;
    OpcUa_DataValue change = {};
    text("a text").copyTo(&change.value);
    const void* const data = change.value.data;
    list.append(1, change);
    EXPECT_EQ(change.value.type, nullptr);
    EXPECT_EQ(list[0].value.raw().data, data);

    number(5).copyTo(&change.value);
    list.append(1, change);
    EXPECT_NE(list[1].value.raw().data, change.value.data);
    UA_clear(&change, &UA_TYPES[UA_TYPES_DATAVALUE]);
    EXPECT_EQ(shown(list), "1:a text 1:5 ");
}

TEST(Notifications, HoldScalarsOfAllSizesArraysAndNothing) {
    UaMonitoredItemNotifications list;
    UaVariant guid;
    OpcUa_Variant raw = {};
    UA_Guid sixteen = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    UA_Variant_setScalarCopy(&raw, &sixteen, &UA_TYPES[UA_TYPES_GUID]);
    guid.attach(raw);
    UaDoubleArray numbers;
    numbers.create(3);
    UaVariant array;
    array.setDoubleArray(std::move(numbers));
    UaVariant boolean;
    boolean.setBoolean(true);
    append(list, 1, boolean);
    append(list, 2, guid);
    append(list, 3, array);
    append(list, 4, UaVariant());
    ASSERT_EQ(list.length(), 4U);
    EXPECT_EQ(list[0].value.type(), OpcUaType_Boolean);
    EXPECT_TRUE(UA_Guid_equal(static_cast<const UA_Guid*>(list[1].value.raw().data), &sixteen));
    EXPECT_EQ(list[2].value.arraySize(), 3U);
    EXPECT_TRUE(list[3].value.isEmpty());
}

TEST(Notifications, HoldScalarsThatAreLargerThanANumber) {
    UA_ServerDiagnosticsSummaryDataType summary = {};
    static_assert(sizeof summary > 16);
    summary.rejectedRequestsCount = 7;
    OpcUa_DataValue change = {};
    UA_Variant_setScalarCopy(&change.value, &summary, &UA_TYPES[UA_TYPES_SERVERDIAGNOSTICSSUMMARYDATATYPE]);
    UaMonitoredItemNotifications list;
    list.append(1, change);
    append(list, 2, number(5));
    UA_clear(&change, &UA_TYPES[UA_TYPES_DATAVALUE]);
    const void* const data = list[0].value.raw().data;
    EXPECT_EQ(static_cast<const UA_ServerDiagnosticsSummaryDataType*>(data)->rejectedRequestsCount, 7U);
    EXPECT_EQ(list[1].value.toString(), UaString("5"));
}

TEST(Notifications, HoldAScalarThatIsALittleLargerThanANumber) {
    UA_ChannelSecurityToken token = {};
    static_assert(sizeof token == 24);
    token.channelId = 7;
    token.revisedLifetime = 3600000;
    OpcUa_DataValue change = {};
    UA_Variant_setScalarCopy(&change.value, &token, &UA_TYPES[UA_TYPES_CHANNELSECURITYTOKEN]);
    UaMonitoredItemNotifications list;
    list.append(1, change);
    append(list, 2, number(5));
    UA_clear(&change, &UA_TYPES[UA_TYPES_DATAVALUE]);
    const auto* const held = static_cast<const UA_ChannelSecurityToken*>(list[0].value.raw().data);
    EXPECT_EQ(held->channelId, 7U);
    EXPECT_EQ(held->revisedLifetime, 3600000U);
}

TEST(Notifications, AppendingAListMovesItBehindWhatIsThere) {
    UaMonitoredItemNotifications list;
    UaMonitoredItemNotifications more;
    append(more, 1, text("one"));
    append(more, 2, number(2));
    list.append(more);
    EXPECT_EQ(more.length(), 0U);
    append(more, 3, number(3));
    append(more, 4, text("four"));
    list.append(more);
    EXPECT_EQ(more.length(), 0U);
    EXPECT_EQ(shown(list), "1:one 2:2 3:3 4:four ");
}

TEST(Notifications, DroppingTheFirstKeepsTheOthersWhole) {
    UaMonitoredItemNotifications list;
    append(list, 1, text("one"));
    append(list, 2, number(2));
    append(list, 3, text("three"));
    append(list, 4, number(4));
    append(list, 5, text("five"));
    list.dropFirst(2);
    EXPECT_EQ(shown(list), "3:three 4:4 5:five ");
    list.dropFirst(1);
    append(list, 6, text("six"));
    EXPECT_EQ(shown(list), "4:4 5:five 6:six ");
    list.dropFirst(100);
    EXPECT_EQ(list.length(), 0U);
    append(list, 7, text("seven"));
    EXPECT_EQ(shown(list), "7:seven ");
}

TEST(Notifications, SwappingExchangesAll) {
    UaMonitoredItemNotifications first;
    UaMonitoredItemNotifications second;
    append(first, 1, text("one"));
    append(second, 2, number(2));
    append(second, 3, text("three"));
    first.swap(second);
    EXPECT_EQ(shown(first), "2:2 3:three ");
    EXPECT_EQ(shown(second), "1:one ");
}

TEST(Notifications, TheLatestOfEachItemKeepsItsPlace) {
    UaMonitoredItemNotifications list;
    append(list, 1, text("old"));
    append(list, 2, number(2));
    append(list, 3, text("three"));
    append(list, 1, number(10));
    append(list, 2, text("two"), 0x80000000);
    append(list, 4, number(4));
    list.keepLatest();
    EXPECT_EQ(shown(list), "3:three 1:10 2:two 4:4 ");
    EXPECT_EQ(list[2].status, 0x80000000U);
    append(list, 3, text("three again"));
    list.keepLatest();
    EXPECT_EQ(shown(list), "1:10 2:two 4:4 3:three again ");
    list.keepLatest();
    EXPECT_EQ(list.length(), 4U);
    list.dropFirst(2);
    EXPECT_EQ(shown(list), "4:4 3:three again ");
}

TEST(Notifications, AWithdrawnListEndsWithTheOneThatIsLookedAt) {
    UaMonitoredItemNotifications list;
    append(list, 1, text("one"));
    append(list, 2, text("two"));
    const UaDataChange first = list[0];
    list.withdraw();
    EXPECT_EQ(list.length(), 0U);
    EXPECT_EQ(first.value.toString(), UaString("one"));
    list.clear();
    EXPECT_EQ(list.bytes(), 0U);
}

TEST(Notifications, BytesFollowWhatComesAndGoes) {
    UaMonitoredItemNotifications list;
    EXPECT_EQ(list.bytes(), 0U);
    append(list, 1, number(1));
    const std::size_t ofANumber = list.bytes();
    EXPECT_LE(ofANumber, 64U);
    append(list, 2, text(std::string(10000, 'a')));
    EXPECT_GT(list.bytes(), 10000U);
    EXPECT_LT(list.bytes(), 10200U);
    UaMonitoredItemNotifications more;
    append(more, 2, text("b"));
    list.append(more);
    EXPECT_EQ(more.bytes(), 0U);
    list.keepLatest();
    EXPECT_LT(list.bytes(), 300U);
    list.swap(more);
    EXPECT_EQ(list.bytes(), 0U);
    more.dropFirst(2);
    EXPECT_EQ(more.bytes(), 0U);
}

/// Many of one kind, so that what the list takes besides does not matter.
template <typename Element, typename Fill>
OpcUa_DataValue arrayOf(const UA_DataType& type, Fill fill) {
    constexpr std::size_t count = 20000;
    OpcUa_DataValue change = {};
    auto* elements = static_cast<Element*>(UA_Array_new(count, &type));
    for (std::size_t i = 0; i < count; ++i)
        fill(elements[i]);
    UA_Variant_setArray(&change.value, elements, count, &type);
    return change;
}

const char* const longText = "a text that is longer than what a heap block begins with";

void fillVariant(UA_Variant& variant) {
    auto* texts = static_cast<UA_String*>(UA_Array_new(5, &UA_TYPES[UA_TYPES_STRING]));
    texts[3] = UA_STRING_ALLOC(longText);
    UA_Variant_setArray(&variant, texts, 5, &UA_TYPES[UA_TYPES_STRING]);
}

/// What `make` takes on the heap must be what the list says, but for what heaps differ in.
template <typename Make>
void expectTrueBytes(Make make) {
    UaMonitoredItemNotifications list;
    const std::size_t before = test_support::heldMemory();
    OpcUa_DataValue change = make();
    const std::size_t taken = test_support::heldMemory() - before;
    list.append(1, change);
    EXPECT_GE(list.bytes() * 10, taken * 9);
    EXPECT_LE(list.bytes(), taken * 2);
    UA_clear(&change, &UA_TYPES[UA_TYPES_DATAVALUE]);
}

TEST(Notifications, BytesAreThoseOfTheHeapForValuesOfEveryKind) {
    expectTrueBytes([] {
        return arrayOf<UA_String>(UA_TYPES[UA_TYPES_STRING], [](auto& e) { e = UA_STRING_ALLOC(longText); });
    });
    expectTrueBytes([] {
        return arrayOf<UA_NodeId>(UA_TYPES[UA_TYPES_NODEID],
                                  [](auto& e) { e = UA_NODEID_STRING_ALLOC(1, longText); });
    });
    expectTrueBytes([] { return arrayOf<UA_NodeId>(UA_TYPES[UA_TYPES_NODEID], [](auto&) {}); });
    expectTrueBytes([] {
        return arrayOf<UA_ExpandedNodeId>(UA_TYPES[UA_TYPES_EXPANDEDNODEID],
                                          [](auto& e) { e.namespaceUri = UA_STRING_ALLOC(longText); });
    });
    expectTrueBytes([] {
        return arrayOf<UA_LocalizedText>(UA_TYPES[UA_TYPES_LOCALIZEDTEXT],
                                         [](auto& e) { e = UA_LOCALIZEDTEXT_ALLOC("en", longText); });
    });
    expectTrueBytes([] {
        return arrayOf<UA_QualifiedName>(UA_TYPES[UA_TYPES_QUALIFIEDNAME],
                                         [](auto& e) { e = UA_QUALIFIEDNAME_ALLOC(1, longText); });
    });
    expectTrueBytes([] { return arrayOf<UA_Variant>(UA_TYPES[UA_TYPES_VARIANT], fillVariant); });
    expectTrueBytes([] { return arrayOf<UA_DataValue>(UA_TYPES[UA_TYPES_DATAVALUE], [](auto&) {}); });
    expectTrueBytes([] {
        return arrayOf<UA_DataValue>(UA_TYPES[UA_TYPES_DATAVALUE], [](auto& e) { fillVariant(e.value); });
    });
    expectTrueBytes([] {
        return arrayOf<UA_DiagnosticInfo>(UA_TYPES[UA_TYPES_DIAGNOSTICINFO], [](auto& e) {
            e.hasInnerDiagnosticInfo = true;
            e.innerDiagnosticInfo = UA_DiagnosticInfo_new();
            e.innerDiagnosticInfo->additionalInfo = UA_STRING_ALLOC(longText);
        });
    });
}

OpcUa_DataValue withManyDimensions(void* elements, std::size_t count) {
    constexpr std::size_t dimensions = 20000;
    const UA_DataType& type = UA_TYPES[UA_TYPES_UINT32];
    OpcUa_DataValue change = {};
    UA_Variant_setArray(&change.value, elements, count, &type);
    change.value.arrayDimensions = static_cast<UA_UInt32*>(UA_Array_new(dimensions, &type));
    change.value.arrayDimensionsSize = dimensions;
    return change;
}

TEST(Notifications, BytesAreThoseOfTheHeapForDimensions) {
    expectTrueBytes([] { return withManyDimensions(UA_Array_new(1, &UA_TYPES[UA_TYPES_UINT32]), 1); });
}

TEST(Notifications, BytesAreThoseOfTheHeapForAnEmptyMatrix) {
    expectTrueBytes([] { return withManyDimensions(UA_EMPTY_ARRAY_SENTINEL, 0); });
}

TEST(Notifications, BytesAreThoseOfTheHeapForStructures) {
    const auto fillObject = [](UA_ExtensionObject& object) {
        UA_EndpointDescription* endpoint = UA_EndpointDescription_new();
        endpoint->endpointUrl = UA_STRING_ALLOC(longText);
        endpoint->server.applicationName = UA_LOCALIZEDTEXT_ALLOC("en", longText);
        endpoint->userIdentityTokens =
            static_cast<UA_UserTokenPolicy*>(UA_Array_new(3, &UA_TYPES[UA_TYPES_USERTOKENPOLICY]));
        endpoint->userIdentityTokensSize = 3;
        endpoint->userIdentityTokens[2].issuerEndpointUrl = UA_STRING_ALLOC(longText);
        endpoint->securityLevel = 1;
        UA_ExtensionObject_setValue(&object, endpoint, &UA_TYPES[UA_TYPES_ENDPOINTDESCRIPTION]);
    };
    expectTrueBytes(
        [&] { return arrayOf<UA_ExtensionObject>(UA_TYPES[UA_TYPES_EXTENSIONOBJECT], fillObject); });
    expectTrueBytes([] {
        return arrayOf<UA_ExtensionObject>(UA_TYPES[UA_TYPES_EXTENSIONOBJECT], [](auto& e) {
            e.encoding = UA_EXTENSIONOBJECT_ENCODED_BYTESTRING;
            e.content.encoded.body = UA_BYTESTRING_ALLOC(longText);
        });
    });
    expectTrueBytes([] {
        return arrayOf<UA_Argument>(UA_TYPES[UA_TYPES_ARGUMENT], [](auto& e) {
            e.name = UA_STRING_ALLOC(longText);
            e.description = UA_LOCALIZEDTEXT_ALLOC("", longText);
        });
    });
}

} // namespace
