#include <array>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "uabase/text_buffer.h"

namespace {

/// A text of `capacity` bytes with a guard on either side.
struct GuardedBuffer {
    static constexpr char guard = '#';
    static constexpr std::size_t capacity = 8;

    explicit GuardedBuffer(const char* text) {
        bytes.fill(guard);
        std::memcpy(begin(), text, std::strlen(text) + 1);
    }
    char* begin() { return bytes.data() + 1; }
    bool guardsStand() const { return bytes.front() == guard && bytes.back() == guard; }

    std::array<char, capacity + 2> bytes;
};

TEST(TextBuffer, AppendsWhatFits) {
    GuardedBuffer buffer("abc");
    EXPECT_EQ(UaBase_strlcat(buffer.begin(), "defg", GuardedBuffer::capacity), 7U);
    EXPECT_STREQ(buffer.begin(), "abcdefg");
    EXPECT_TRUE(buffer.guardsStand());
}

TEST(TextBuffer, CutsAtTheCapacityAndReportsTheWholeLength) {
    GuardedBuffer buffer("abc");
    EXPECT_EQ(UaBase_strlcat(buffer.begin(), "defgh", GuardedBuffer::capacity), 8U);
    EXPECT_STREQ(buffer.begin(), "abcdefg");
    EXPECT_EQ(UaBase_strlcat(buffer.begin(), "xyz", GuardedBuffer::capacity), 10U);
    EXPECT_STREQ(buffer.begin(), "abcdefg");
    EXPECT_TRUE(buffer.guardsStand());
}

TEST(TextBuffer, ATargetWithoutTerminatorIsLeftAlone) {
    std::string target(4, 'x');
    EXPECT_EQ(UaBase_strlcat(target.data(), "abc", target.size()), 7U);
    EXPECT_EQ(target, "xxxx");
    EXPECT_EQ(UaBase_strlcat(target.data(), "abc", 0), 3U);
    EXPECT_EQ(target, "xxxx");
}

TEST(TextBuffer, NullPointersAddNothing) {
    GuardedBuffer buffer("abc");
    EXPECT_EQ(UaBase_strlcat(buffer.begin(), nullptr, GuardedBuffer::capacity), 3U);
    EXPECT_STREQ(buffer.begin(), "abc");
    EXPECT_EQ(UaBase_strlcat(nullptr, "abc", 8), 11U);
}

} // namespace
