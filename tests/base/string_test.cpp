#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "uabase/string.h"

namespace {

std::string arg(const char* pattern, const char* value, int fieldWidth = 0, char fill = ' ') {
    return UaString(pattern).arg(value, fieldWidth, fill).text();
}

TEST(String, NothingGivesTheEmptyText) {
    const char* const none = nullptr;
    EXPECT_TRUE(UaString(none).isEmpty());
    EXPECT_TRUE(UaString().isEmpty());
    EXPECT_TRUE(UaString(OpcUa_String{0, nullptr}).isEmpty());
    EXPECT_TRUE(UaString(OpcUa_String{0, static_cast<OpcUa_Byte*>(UA_EMPTY_ARRAY_SENTINEL)}).isEmpty());
    EXPECT_TRUE(UaUniString(none).text().empty());
    EXPECT_STREQ(UaString().toUtf8(), "");
}

TEST(String, EngineTextIsCopiedAndTerminated) {
    char source[] = {'a', 'b', 'c', 'X'};
    const UaString text(OpcUa_String{3, reinterpret_cast<OpcUa_Byte*>(source)});
    source[0] = 'z';
    EXPECT_STREQ(text.toUtf8(), "abc");
    EXPECT_EQ(text.size(), 3);
}

TEST(String, MayHoldZeroBytes) {
    const UaString text(std::string("a\0b", 3));
    EXPECT_EQ(text.size(), 3);
    EXPECT_EQ(UaString(text.view()), text);
    EXPECT_NE(text, UaString("a"));
}

TEST(String, WipingLeavesNothingInItsPlace) {
    for (const std::string secret : {"short", "a text that is long enough for the heap"}) {
        UaString text(secret);
        const char* const place = text.toUtf8();
        text.wipe();
        EXPECT_TRUE(text.isEmpty());
        ASSERT_EQ(text.toUtf8(), place) << "it keeps its memory";
        EXPECT_EQ(std::string(place, secret.size()), std::string(secret.size(), '\0'));
    }
}

TEST(String, ViewOfTheEmptyTextIsEmptyAndNotNull) {
    const UaString text;
    EXPECT_EQ(text.view().length, 0U);
    EXPECT_NE(text.view().data, nullptr);
}

TEST(String, ArgReplacesThePlaceHolder) {
    EXPECT_EQ(arg("%1/OpcUaClient.log", "/opt/hmi"), "/opt/hmi/OpcUaClient.log");
    EXPECT_EQ(arg("%1/OpcUaClient.log", ""), "/OpcUaClient.log");
    EXPECT_EQ(arg("%1", "x"), "x");
    EXPECT_EQ(arg("a%1", "x"), "ax");
    EXPECT_EQ(arg("%1%1-%1", "x"), "xx-x");
}

TEST(String, ArgTakesTheLowestNumber) {
    EXPECT_EQ(arg("%2 %1 %3 %1", "x"), "%2 x %3 x");
    EXPECT_EQ(arg("%10 %9", "x"), "%10 x");
    EXPECT_EQ(arg("%12", "x"), "x");
    EXPECT_EQ(arg("%99", "x"), "x");
    EXPECT_EQ(arg("%123", "x"), "x3");
    EXPECT_EQ(UaString("%2-%1").arg("a").arg("b").text(), "b-a");
}

TEST(String, ArgLeavesOtherPercentSignsAlone) {
    EXPECT_EQ(arg("100 %", "x"), "100 %");
    EXPECT_EQ(arg("%", "x"), "%");
    EXPECT_EQ(arg("%0 %s %%", "x"), "%0 %s %%");
    EXPECT_EQ(arg("%%1", "x"), "%x");
    EXPECT_EQ(arg("", "x"), "");
}

TEST(String, ArgDoesNotLookIntoTheValue) {
    EXPECT_EQ(arg("%1/%2", "%1"), "%1/%2");
    EXPECT_EQ(arg("%1", "%2"), "%2");
}

TEST(String, ArgPadsToTheFieldWidth) {
    EXPECT_EQ(arg("[%1]", "ab", 5), "[   ab]");
    EXPECT_EQ(arg("[%1]", "ab", -5), "[ab   ]");
    EXPECT_EQ(arg("[%1]", "ab", 4, '0'), "[00ab]");
    EXPECT_EQ(arg("[%1]", "abcdef", 3), "[abcdef]");
    EXPECT_EQ(arg("[%1]", "温度", 4, '.'), "[..温度]");
}

struct Pair {
    const char* utf8;
    std::u16string utf16;
};

TEST(Unicode, BothFormsRoundTrip) {
    const Pair pairs[] = {
        {"", u""},
        {"plain", u"plain"},
        {"\x7F\xC2\x80", u"\x7F\x80"},
        {"\xDF\xBF\xE0\xA0\x80", u"\x7FF\x800"},
        {"\xED\x9F\xBF\xEE\x80\x80", u"\xD7FF\xE000"},
        {"\xEF\xBF\xBF\xF0\x90\x80\x80", u"\xFFFF\xD800\xDC00"},
        {"\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF"},
        {"服务器未连接 😀", u"服务器未连接 😀"},
    };
    for (const Pair& pair : pairs) {
        EXPECT_EQ(UaString(pair.utf8).toUtf16().text(), pair.utf16) << pair.utf8;
        EXPECT_EQ(UaUniString(pair.utf16).toUtf8(), UaString(pair.utf8));
        EXPECT_EQ(UaUniString(pair.utf8).text(), pair.utf16);
    }
}

TEST(Unicode, MalformedUtf8BecomesReplacementCharacters) {
    const Pair pairs[] = {
        {"a\x80z", u"a\uFFFDz"},
        {"\xC3", u"\uFFFD"},
        {"\xC3z", u"\uFFFDz"},
        {"\xE6\xB8", u"\uFFFD\uFFFD"},
        {"\xE6\xB8z", u"\uFFFD\uFFFDz"},
        {"\xC0\xAF", u"\uFFFD\uFFFD"},
        {"\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},
        {"\xF0\x80\x80\xAF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xF8\x88\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xFE\xFF", u"\uFFFD\uFFFD"},
    };
    for (const Pair& pair : pairs)
        EXPECT_EQ(UaUniString(pair.utf8).text(), pair.utf16) << testing::PrintToString(pair.utf8);
}

TEST(Unicode, LoneSurrogatesBecomeReplacementCharacters) {
    const auto text = [](std::u16string utf16) { return UaUniString(std::move(utf16)).toUtf8().text(); };
    EXPECT_EQ(text({0xD800}), "\uFFFD");
    EXPECT_EQ(text({0xDC00}), "\uFFFD");
    EXPECT_EQ(text({0xD800, u'a'}), "\uFFFDa");
    EXPECT_EQ(text({0xD800, 0xD800, 0xDC00}), "\uFFFD\xF0\x90\x80\x80");
    EXPECT_EQ(text({0xDC00, 0xD800}), "\uFFFD\uFFFD");
}

} // namespace
