#include <gtest/gtest.h>

#include "uabase/byte_string.h"

namespace {

constexpr OpcUa_Byte sample[] = {0x30, 0x00, 0xFF};

TEST(ByteString, HoldsACopyOfTheBytes) {
    OpcUa_Byte source[] = {1, 2, 3};
    const UaByteString bytes(3, source);
    source[0] = 9;
    ASSERT_EQ(bytes.length(), 3);
    EXPECT_EQ(bytes.data()[0], 1);
    EXPECT_EQ(bytes, UaByteString(bytes.view()));
}

TEST(ByteString, NothingSensibleGivesTheEmptyOne) {
    EXPECT_EQ(UaByteString(-1, sample).length(), 0);
    EXPECT_EQ(UaByteString(3, nullptr).length(), 0);
    EXPECT_EQ(UaByteString(OpcUa_ByteString{0, nullptr}).length(), 0);
    EXPECT_EQ(UaByteString(OpcUa_ByteString{0, static_cast<OpcUa_Byte*>(UA_EMPTY_ARRAY_SENTINEL)}).length(),
              0);
    EXPECT_EQ(UaByteString().view().length, 0U);
}

TEST(ByteString, ViewPointsIntoTheObject) {
    const UaByteString bytes(3, sample);
    EXPECT_EQ(bytes.view().data, bytes.data());
    EXPECT_EQ(bytes.view().length, 3U);
}

TEST(ByteString, ComparesByContent) {
    EXPECT_EQ(UaByteString(2, sample), UaByteString(2, sample));
    EXPECT_NE(UaByteString(2, sample), UaByteString(3, sample));
    UaByteString cleared(2, sample);
    cleared.clear();
    EXPECT_EQ(cleared, UaByteString());
}

} // namespace
