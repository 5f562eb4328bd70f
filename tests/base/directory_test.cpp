#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <utility>

#include <gtest/gtest.h>

#include "support/temporary_directory.h"
#include "uabase/directory.h"

namespace {

namespace fs = std::filesystem;

UaUniString wide(const fs::path& path) {
    return UaUniString(path.c_str());
}

unsigned int mode(const fs::path& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

class Directory : public testing::Test {
protected:
    test_support::TemporaryDirectory m_temporary;
    fs::path m_root = m_temporary.path();
    UaDir m_working{UaUniString("")};
};

TEST_F(Directory, MakesEverythingUpToTheLastSlash) {
    EXPECT_TRUE(m_working.mkpath(wide(m_root / "pki/own/certs/client.der")));
    EXPECT_TRUE(fs::is_directory(m_root / "pki/own/certs"));
    EXPECT_FALSE(fs::exists(m_root / "pki/own/certs/client.der"));
}

TEST_F(Directory, ATrailingSlashMakesTheLastNameADirectory) {
    EXPECT_TRUE(m_working.mkpath(UaUniString((m_root.string() + "/trusted//crl/").c_str())));
    EXPECT_TRUE(fs::is_directory(m_root / "trusted/crl"));
}

TEST_F(Directory, OnlyTheOwnerEntersWhatWasMade) {
    ASSERT_TRUE(m_working.mkpath(wide(m_root / "a/b/file")));
    EXPECT_EQ(mode(m_root / "a"), 0700U);
    EXPECT_EQ(mode(m_root / "a/b"), 0700U);
}

TEST_F(Directory, WhatIsThereAlreadyStaysAsItIs) {
    fs::create_directory(m_root / "a");
    fs::permissions(m_root / "a", fs::perms(0750));
    EXPECT_TRUE(m_working.mkpath(wide(m_root / "a/b/file")));
    EXPECT_TRUE(m_working.mkpath(wide(m_root / "a/b/file")));
    EXPECT_EQ(mode(m_root / "a"), 0750U);
}

TEST_F(Directory, AFileInTheWayFails) {
    std::ofstream(m_root / "a") << "not a directory";
    EXPECT_FALSE(m_working.mkpath(wide(m_root / "a/b/file")));
    EXPECT_FALSE(m_working.mkpath(wide(m_root / "a/file")));
}

TEST_F(Directory, ALinkToADirectoryIsFollowed) {
    fs::create_directory(m_root / "real");
    fs::create_directory_symlink(m_root / "real", m_root / "link");
    EXPECT_TRUE(m_working.mkpath(wide(m_root / "link/b/file")));
    EXPECT_TRUE(fs::is_directory(m_root / "real/b"));
}

TEST_F(Directory, APathWithoutDirectoriesNeedsNone) {
    EXPECT_TRUE(m_working.mkpath(UaUniString("file")));
    EXPECT_TRUE(m_working.mkpath(UaUniString("")));
    EXPECT_TRUE(m_working.mkpath(UaUniString("/")));
}

TEST_F(Directory, NamesMayBeAnyUnicode) {
    EXPECT_TRUE(m_working.mkpath(UaUniString((m_root.string() + "/证书/😀/").c_str())));
    EXPECT_TRUE(fs::is_directory(m_root / "证书/😀"));
}

TEST_F(Directory, RelativePathsAreTakenFromTheDirectory) {
    EXPECT_TRUE(UaDir(wide(m_root)).mkpath(UaUniString("x/y/")));
    EXPECT_TRUE(fs::is_directory(m_root / "x/y"));
}

TEST(DirectoryPath, FilePathJoinsWithOneSlash) {
    const auto joined = [](const char* directory, const char* name) {
        return UaDir(UaUniString(directory)).filePath(UaUniString(name)).toUtf8().text();
    };
    EXPECT_EQ(joined("", "a/b"), "a/b");
    EXPECT_EQ(joined("", "/a/b"), "/a/b");
    EXPECT_EQ(joined("/opt", "a"), "/opt/a");
    EXPECT_EQ(joined("/opt/", "a"), "/opt/a");
    EXPECT_EQ(joined("/opt", "/a"), "/a");
    EXPECT_EQ(joined("/opt", ""), "/opt/");
}

TEST(DirectoryPath, NativeSeparatorsAreSlashes) {
    EXPECT_EQ(UaDir::fromNativeSeparators(UaUniString("a/b\\c")).toUtf8(), UaString("a/b\\c"));
}

TEST_F(Directory, AFileTellsWhyItCannotBeOpened) {
    const auto opened = [this](const char* name) {
        UaFile file(wide(m_root / name));
        EXPECT_FALSE(file.open());
        return std::pair(file.isMissing(), file.problem().text());
    };
    std::ofstream(m_root / "file") << "content";
    fs::create_symlink("round", m_root / "round");
    EXPECT_EQ(opened("nothing"), std::pair(true, std::string("No such file or directory")));
    EXPECT_EQ(opened("file/below"), std::pair(true, std::string("Not a directory")));
    EXPECT_EQ(opened("round"), std::pair(false, std::string("Too many levels of symbolic links")));
    EXPECT_EQ(opened("."), std::pair(false, std::string("it is no regular file")));
}

} // namespace
