#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <ios>
#include <random>
#include <string>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "support/temporary_directory.h"
#include "uabase/settings.h"

namespace {

class Settings : public testing::Test {
protected:
    /// The value of `key` in group "G" of a file with this content, or "default".
    std::string value(const std::string& content, const char* key) {
        std::ofstream(m_file, std::ios::binary) << content;
        return valueInFile(key);
    }

    std::string valueInFile(const char* key) const {
        UaSettings settings{UaUniString(m_file.c_str())};
        settings.beginGroup("G");
        return settings.value(key, UaVariant(UaString("default"))).toString().text();
    }

    test_support::TemporaryDirectory m_directory;
    std::filesystem::path m_file = m_directory.path() / "settings.ini";
};

TEST_F(Settings, FindsTheKeyInItsGroup) {
    const char* const content = "[Other]\nkey = other\n[G]\nkey = mine\n[Last]\nkey = last\n";
    EXPECT_EQ(value(content, "key"), "mine");
}

TEST_F(Settings, WhatIsMissingHasItsDefault) {
    EXPECT_EQ(valueInFile("key"), "default");
    EXPECT_EQ(value("", "key"), "default");
    EXPECT_EQ(value("[Other]\nkey=1\n", "key"), "default");
    EXPECT_EQ(value("key=1\n[G]\nother=2\n", "key"), "default");
}

TEST_F(Settings, AnEmptyValueIsAValue) {
    EXPECT_EQ(value("[G]\nkey=\n", "key"), "");
    EXPECT_EQ(value("[G]\nkey=\"\"\n", "key"), "");
}

TEST_F(Settings, NamesAreCaseSensitive) {
    EXPECT_EQ(value("[G]\nKey=1\n", "key"), "default");
    EXPECT_EQ(value("[g]\nkey=1\n", "key"), "default");
}

TEST_F(Settings, BlanksAndOnePairOfQuotesAreTakenOff) {
    EXPECT_EQ(value("[G]\n  key \t =  a b \t\r\n", "key"), "a b");
    EXPECT_EQ(value("[G]\nkey=\" a b \"\n", "key"), " a b ");
    EXPECT_EQ(value("[G]\nkey=\"\"a\"\"\n", "key"), "\"a\"");
    EXPECT_EQ(value("[G]\nkey=\"a\n", "key"), "\"a");
    EXPECT_EQ(value("[G]\nkey=\"\n", "key"), "\"");
}

TEST_F(Settings, CommentsAreWholeLines) {
    EXPECT_EQ(value("; key=1\n[G]\n# key=2\n;key=3\nkey=4\n", "key"), "4");
    EXPECT_EQ(value("[G]\nkey=/a;b#c=d\n", "key"), "/a;b#c=d");
}

TEST_F(Settings, TheLastOfSeveralValuesCounts) {
    EXPECT_EQ(value("[G]\nkey=1\nkey=2\n", "key"), "2");
}

TEST_F(Settings, LinesMayEndAnyWay) {
    EXPECT_EQ(value("[G]\r\na=1\r\nkey=2\r\n", "key"), "2");
    EXPECT_EQ(value("[G]\na=1\nkey=2", "key"), "2");
}

TEST_F(Settings, TextIsUtf8WithOrWithoutAByteOrderMark) {
    EXPECT_EQ(value("[G]\nkey=/证书/\n", "key"), "/证书/");
    EXPECT_EQ(value("\xEF\xBB\xBF[G]\nkey=/证书/\n", "key"), "/证书/");
}

TEST_F(Settings, TheDefaultMayHaveAnyType) {
    const UaSettings settings{UaUniString(m_file.c_str())};
    UaVariant seven;
    seven.setInt32(7);
    OpcUa_Int32 number = 0;
    EXPECT_EQ(settings.value("key", seven).toInt32(number), OpcUa_Good);
    EXPECT_EQ(number, 7);
}

TEST_F(Settings, ADirectoryInThePlaceOfTheFileIsEmpty) {
    std::filesystem::create_directory(m_file);
    EXPECT_EQ(valueInFile("key"), "default");
}

TEST_F(Settings, APipeInThePlaceOfTheFileIsEmpty) {
    ASSERT_EQ(::mkfifo(m_file.c_str(), 0600), 0);
    EXPECT_EQ(valueInFile("key"), "default");
}

TEST_F(Settings, AHugeFileIsEmpty) {
    std::ofstream(m_file) << "[G]\nkey=1\n";
    std::filesystem::resize_file(m_file, std::uintmax_t{1} << 33);
    EXPECT_EQ(valueInFile("key"), "default");
}

TEST_F(Settings, AFileMayHaveOneMebibyte) {
    const std::string content = "[G]\nkey=1\n;";
    const std::string comment((std::size_t{1} << 20) - content.size(), 'x');
    EXPECT_EQ(value(content + comment, "key"), "1");
    EXPECT_EQ(value(content + comment + 'x', "key"), "default");
}

TEST_F(Settings, AnEmptyFileNameIsEmpty) {
    const UaSettings settings{UaUniString("")};
    EXPECT_EQ(settings.value("key", UaVariant(UaString("default"))).toString(), UaString("default"));
}

TEST_F(Settings, GarbageYieldsDefaults) {
    const std::string contents[] = {"[",
                                    "]",
                                    "[G",
                                    "[G\nkey",
                                    "=",
                                    "==",
                                    "[]\n=\n",
                                    "[G]\n=value\n",
                                    "key",
                                    "\"",
                                    "\r",
                                    std::string(1, '\0'),
                                    std::string("[\0G]\nkey=1\n", 11),
                                    std::string("\xFF\xFE[\0G\0]\0", 8),
                                    "\xEF\xBB",
                                    "\xEF\xBB\xBF",
                                    std::string(100000, '['),
                                    std::string(100000, '\n'),
                                    "<<<EOT\n"};
    for (const std::string& content : contents)
        EXPECT_EQ(value(content, "key"), "default") << testing::PrintToString(content.substr(0, 20));
}

TEST_F(Settings, RandomBytesYieldTheKeyOrItsDefault) {
    std::mt19937 random(1);
    const std::string alphabet = std::string("[]=;#\"\r\n\t Gkey", 14) + '\0' + "\xEF\xBB\xBF\xFF";
    for (int round = 0; round < 300; ++round) {
        std::string content;
        for (const std::size_t length = random() % 64; content.size() < length;)
            content += alphabet[random() % alphabet.size()];
        const std::string found = value(content, "key");
        EXPECT_TRUE(found == "default" || content.find(found) != std::string::npos);
    }
}

TEST_F(Settings, AnUnreadableFileIsEmpty) {
    std::ofstream(m_file) << "[G]\nkey=1\n";
    std::filesystem::permissions(m_file, std::filesystem::perms::none);
    // The superuser reads it all the same.
    const bool readable = std::ifstream(m_file).is_open();
    EXPECT_EQ(valueInFile("key"), readable ? "1" : "default");
}

} // namespace
