#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>
#include <open62541/types_generated_handling.h>

#include "uabase/arrays.h"

namespace {

static_assert(!std::is_copy_constructible_v<UaUInt32Array> && !std::is_copy_assignable_v<UaUInt32Array>);
static_assert(std::is_nothrow_move_constructible_v<UaUInt32Array>);

UaReferenceDescriptions twoReferences() {
    UaReferenceDescriptions references;
    references.create(2);
    references[0].browseName.name = UA_String_fromChars("first");
    references[1].browseName.name = UA_String_fromChars("second");
    return references;
}

TEST(ProtocolArray, StartsEmpty) {
    const UaDataValues values;
    EXPECT_EQ(values.length(), 0U);
    EXPECT_EQ(values.rawData(), nullptr);
    EXPECT_EQ(values.begin(), values.end());
}

TEST(ProtocolArray, CreateZeroesTheElements) {
    UaReadValueIds ids;
    ids.create(3);
    ASSERT_EQ(ids.length(), 3U);
    for (const OpcUa_ReadValueId& id : ids) {
        EXPECT_EQ(id.attributeId, 0U);
        EXPECT_EQ(id.indexRange.data, nullptr);
    }
}

TEST(ProtocolArray, CreateReplacesWhatWasThere) {
    UaReferenceDescriptions references = twoReferences();
    references.create(1);
    ASSERT_EQ(references.length(), 1U);
    EXPECT_EQ(references[0].browseName.name.data, nullptr);
    references.create(0);
    EXPECT_EQ(references.length(), 0U);
    EXPECT_EQ(references.rawData(), nullptr);
}

TEST(ProtocolArray, ViewsLeaveToOthersWhatTheyPointTo) {
    char text[] = "somebody else's";
    UaReadValueIds ids;
    ids.createViews(2);
    ASSERT_EQ(ids.length(), 2U);
    ids[1].attributeId = 13;
    ids[1].indexRange = {sizeof text - 1, reinterpret_cast<UA_Byte*>(text)};
    UaReadValueIds moved(std::move(ids));
    UaReadValueIds assigned;
    assigned = std::move(moved);
    ASSERT_EQ(assigned.length(), 2U);
    assigned.clear();
    EXPECT_STREQ(text, "somebody else's");
}

TEST(ProtocolArray, AsManyViewsTakeThePlaceOfTheOldOnes) {
    UaReadValueIds ids;
    ids.createViews(2);
    const OpcUa_ReadValueId* const elements = ids.rawData();
    ids[1].attributeId = 13;
    ids.createViews(2);
    EXPECT_EQ(ids.rawData(), elements);
    EXPECT_EQ(ids[1].attributeId, 0U);
    ids.createViews(3);
    EXPECT_EQ(ids.length(), 3U);
    // From now on it owns its content again.
    ids.create(3);
    ids[0].indexRange = UA_String_fromChars("its own");
}

TEST(ProtocolArray, ViewsTakeThePlaceOfAsManyOwnElements) {
    char text[] = "somebody else's";
    UaStringArray texts;
    texts.create(2);
    texts[1] = UA_String_fromChars("its own");
    texts.createViews(2);
    EXPECT_EQ(texts[1].data, nullptr);
    texts[1] = {sizeof text - 1, reinterpret_cast<UA_Byte*>(text)};
    texts.clear();
    EXPECT_STREQ(text, "somebody else's");
}

TEST(ProtocolArray, MovingLeavesTheSourceEmpty) {
    UaReferenceDescriptions source = twoReferences();
    const OpcUa_ReferenceDescription* const elements = source.rawData();
    UaReferenceDescriptions target(std::move(source));
    EXPECT_EQ(target.rawData(), elements);
    EXPECT_EQ(source.length(), 0U); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)

    UaReferenceDescriptions assigned = twoReferences();
    assigned = std::move(target);
    EXPECT_EQ(assigned.rawData(), elements);
    EXPECT_EQ(assigned.length(), 2U);
    EXPECT_EQ(target.length(), 0U); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
}

TEST(ProtocolArray, MovingOntoItselfKeepsTheElements) {
    UaReferenceDescriptions references = twoReferences();
    UaReferenceDescriptions& alias = references;
    references = std::move(alias);
    EXPECT_EQ(references.length(), 2U);
}

TEST(ProtocolArray, ReplaceCopiesDeeply) {
    UaStringArray texts;
    texts.create(2);
    UA_String text = UA_STRING_ALLOC("first");
    texts.replace(1, text);
    texts.replace(1, texts[1]);
    UA_String_clear(&text);
    EXPECT_EQ(texts[0].length, 0U);
    ASSERT_EQ(texts[1].length, 5U);
    EXPECT_EQ(texts[1].data[0], 'f');
    texts.replace(1, text);
    EXPECT_EQ(texts[1].length, 0U);
}

TEST(ProtocolArray, DetachGivesTheElementsAway) {
    UaReferenceDescriptions references = twoReferences();
    OpcUa_ReferenceDescription* const elements = references.detach();
    EXPECT_EQ(references.length(), 0U);
    EXPECT_EQ(references.rawData(), nullptr);
    UA_Array_delete(elements, 2, &UA_TYPES[UA_TYPES_REFERENCEDESCRIPTION]);
}

TEST(ProtocolArray, AttachTakesTheElementsOver) {
    auto* const elements = static_cast<OpcUa_UInt32*>(UA_Array_new(4, &UA_TYPES[UA_TYPES_UINT32]));
    elements[3] = 7;
    UaStatusCodeArray array;
    array.create(2);
    array.attach(4, elements);
    EXPECT_EQ(array.rawData(), elements);
    ASSERT_EQ(array.length(), 4U);
    EXPECT_EQ(array[3], 7U);
}

TEST(ProtocolArray, AttachOfAnEmptyArrayKeepsNoPointer) {
    UaUInt32Array array;
    array.attach(0, static_cast<OpcUa_UInt32*>(UA_EMPTY_ARRAY_SENTINEL));
    EXPECT_EQ(array.length(), 0U);
    EXPECT_EQ(array.rawData(), nullptr);
    array.attach(0, static_cast<OpcUa_UInt32*>(UA_Array_new(1, &UA_TYPES[UA_TYPES_UINT32])));
    EXPECT_EQ(array.rawData(), nullptr);
}

TEST(ProtocolArray, CreateOfTooManyElementsThrowsAndKeepsTheContent) {
    UaEndpointDescriptions endpoints;
    endpoints.create(1);
    EXPECT_THROW(endpoints.create(UINT32_MAX), std::bad_alloc);
    EXPECT_EQ(endpoints.length(), 1U);
}

} // namespace
