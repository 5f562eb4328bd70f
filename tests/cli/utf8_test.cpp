#include <gtest/gtest.h>

#include "text/ascii.h"
#include "text/utf8.h"

using namespace opcua_cli;

TEST(Utf8, KnowsValidText) {
    for (const char* text : {"", "Speed", "Füllstand", "温度", "\U0001F525", "\xF4\x8F\xBF\xBF"})
        EXPECT_TRUE(isValidUtf8(text)) << text;
}

TEST(Utf8, RefusesBrokenText) {
    EXPECT_FALSE(isValidUtf8("\xFF"));
    EXPECT_FALSE(isValidUtf8("F\xFC"
                             "llstand"));
    EXPECT_FALSE(isValidUtf8("\xC3"));             // cut
    EXPECT_FALSE(isValidUtf8("\xC0\xAF"));         // overlong
    EXPECT_FALSE(isValidUtf8("\xE0\x80\xAF"));     // overlong
    EXPECT_FALSE(isValidUtf8("\xED\xA0\x80"));     // surrogate
    EXPECT_FALSE(isValidUtf8("\xF4\x90\x80\x80")); // above U+10FFFF
}

TEST(Utf8, DropsACharacterThatWasCutOff) {
    EXPECT_EQ(withoutCutCharacter("abc"), "abc");
    EXPECT_EQ(withoutCutCharacter("ab\xC3"), "ab");
    EXPECT_EQ(withoutCutCharacter("ab\xE6\xB8"), "ab");
    EXPECT_EQ(withoutCutCharacter("ab\xF0\x9F\x94"), "ab");
    EXPECT_EQ(withoutCutCharacter("温度"), "温度");
    EXPECT_EQ(withoutCutCharacter(""), "");
    EXPECT_EQ(withoutCutCharacter("\x80\x80\x80\x80"), "\x80\x80\x80\x80");
}

TEST(Utf8, ShowsWhatWouldSteerATerminal) {
    EXPECT_EQ(printable("a\nb\tc\r"), "a\\nb\\tc\\r");
    EXPECT_EQ(printable("\x1b[31mred"), "\\x1b[31mred");
    EXPECT_EQ(printable("\x7f"), "\\x7f");
    EXPECT_EQ(printable("\xC2\x9B"), "\\x9b"); // the control sequence introducer in one character
    EXPECT_EQ(printable("a\u202Eb"), "a\\u{202e}b");
    EXPECT_EQ(printable("F\xFCll"), "F\uFFFDll");
    EXPECT_EQ(printable(std::string_view("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(printable("Füllstand 温度"), "Füllstand 温度");
}

TEST(Utf8, WritesWhatWouldSteerATerminalAsJsonDoes) {
    EXPECT_EQ(printableJson("{\n \"a\": \"\\u001b\xC2\x9B\x7F\xE2\x80\xAE\xD8\x9C \xC3\xA4\"\n}"),
              "{\n \"a\": \"\\u001b\\u009b\\u007f\\u202e\\u061c \xC3\xA4\"\n}");
}

TEST(Utf8, MeasuresTerminalColumns) {
    EXPECT_EQ(displayWidth(""), 0u);
    EXPECT_EQ(displayWidth("Speed"), 5u);
    EXPECT_EQ(displayWidth("Füllstand"), 9u);
    EXPECT_EQ(displayWidth("温度"), 4u);
    EXPECT_EQ(displayWidth("u\u0308"), 1u);
    EXPECT_EQ(displayWidth("\xFF"), 1u);
}

TEST(Utf8, CutsToAWidth) {
    EXPECT_EQ(cutToWidth("Speed", 5), "Speed");
    EXPECT_EQ(cutToWidth("Speed", 4), "Spe…");
    EXPECT_EQ(cutToWidth("Speed", 1), "…");
    EXPECT_EQ(cutToWidth("Speed", 0), "");
    EXPECT_EQ(cutToWidth("温度计", 6), "温度计");
    EXPECT_EQ(cutToWidth("温度计", 5), "温度…");
    EXPECT_EQ(cutToWidth("温度计", 4), "温…"); // half a wide character does not exist
    EXPECT_EQ(cutToWidth("", 3), "");
}

TEST(Utf8, HoldsNoControlCharacterForATerminalThatReadsBytes) {
    EXPECT_EQ(withoutControlBytes("abc \x1b[31m"), "abc \x1b[31m");
    EXPECT_EQ(withoutControlBytes("\u00DB31m"), "?31m") << "its second byte begins a sequence there";
    EXPECT_EQ(withoutControlBytes("\u00DC, \u00E4\u00C4 \u9505"), "?, \u00E4? ??");
    EXPECT_EQ(withoutControlBytes("a\x9B"), "??");
}
