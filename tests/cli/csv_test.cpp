#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "formats/csv.h"
#include "formats/text_file.h"

using namespace opcua_cli;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::vector<std::vector<std::string>> fields(std::string_view text) {
    std::vector<std::vector<std::string>> result;
    for (const CsvRow& row : parseCsv(text))
        result.push_back(row.fields);
    return result;
}

void isRefused(std::string_view text, std::size_t line, const std::string& reason) {
    try {
        parseCsv(text);
        ADD_FAILURE() << "was taken: " << text;
    } catch (const FormatError& error) {
        EXPECT_EQ(error.line, line) << text;
        EXPECT_THAT(error.what(), HasSubstr(reason)) << text;
    }
}

} // namespace

TEST(Csv, RowsEndWithEitherLineEndOrTheText) {
    EXPECT_THAT(fields(""), IsEmpty());
    EXPECT_THAT(fields("\r\n\n"), IsEmpty());
    for (const char* text : {"a,b\r\nc,d\r\n", "a,b\nc,d\n", "a,b\r\nc,d", "\na,b\n\r\nc,d\n\n"})
        EXPECT_THAT(fields(text), ElementsAre(ElementsAre("a", "b"), ElementsAre("c", "d"))) << text;
}

TEST(Csv, FieldsMayBeEmpty) {
    EXPECT_THAT(fields(",\n\"\"\n a ,"),
                ElementsAre(ElementsAre("", ""), ElementsAre(""), ElementsAre(" a ", "")));
}

TEST(Csv, QuotesTakeCommasQuotesAndLineEnds) {
    EXPECT_THAT(fields("\"a,b\",\"say \"\"hi\"\"\",\"two\r\nlines\""),
                ElementsAre(ElementsAre("a,b", "say \"hi\"", "two\r\nlines")));
}

TEST(Csv, RowsKnowTheirLines) {
    const auto rows = parseCsv("a\r\n\"x\ny\",1\n\nlast");
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].line, 1u);
    EXPECT_EQ(rows[1].line, 2u);
    EXPECT_EQ(rows[2].line, 5u);
}

TEST(Csv, BrokenFormsAreRefusedWithTheirLine) {
    isRefused("a\n\"b\nc", 2, "not closed");
    isRefused("a\nb,c\"d\"", 2, "a quote inside a field");
    isRefused("\"a\nb\"c", 2, "follows the quote");
    isRefused("a\nb\rc", 2, "carriage return");
    isRefused("\"a\"\rc", 1, "carriage return");
}

TEST(Csv, SemicolonsSeparateWhereTheFirstLineSaysSo) {
    EXPECT_THAT(fields("a;b\n1,5;\"x;y\"\n"), ElementsAre(ElementsAre("a", "b"), ElementsAre("1,5", "x;y")));
    EXPECT_THAT(fields("\r\n\"a,b,c\";d\r\n1;2"),
                ElementsAre(ElementsAre("a,b,c", "d"), ElementsAre("1", "2")));
    EXPECT_THAT(fields("\"a\nb,c,d\";e"), ElementsAre(ElementsAre("a\nb,c,d", "e")));
    EXPECT_THAT(fields("\"a;b;c\",d\n1;2,3"),
                ElementsAre(ElementsAre("a;b;c", "d"), ElementsAre("1;2", "3")));
    EXPECT_THAT(fields("node\nns=2;s=A\n"), ElementsAre(ElementsAre("node"), ElementsAre("ns=2;s=A")));
}

TEST(Csv, LinesAreReadBackAsTheyWere) {
    const std::vector<std::string> line{"", "a,b", "say \"hi\"", "two\r\nlines", " x ", "1;2", ""};
    EXPECT_EQ(csvLine(line), ",\"a,b\",\"say \"\"hi\"\"\",\"two\r\nlines\", x ,1;2,\n");
    EXPECT_THAT(fields(csvLine({"first", "of", "the", "seven", "names", "that", "separate"}) + csvLine(line)),
                testing::Contains(line));
    EXPECT_EQ(csvLine({"\xFF"}), "\uFFFD\n");
}
