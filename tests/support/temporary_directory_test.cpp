#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "support/temporary_directory.h"

using test_support::TemporaryDirectory;
namespace fs = std::filesystem;

TEST(TemporaryDirectory, IsNewAndPrivate) {
    const TemporaryDirectory first;
    const TemporaryDirectory second;
    EXPECT_NE(first.path(), second.path());
    EXPECT_TRUE(fs::is_empty(first.path()));
    EXPECT_EQ(fs::status(first.path()).permissions(), fs::perms::owner_all);
}

TEST(TemporaryDirectory, GoesWithItsContents) {
    fs::path path;
    {
        const TemporaryDirectory directory;
        path = directory.path();
        fs::create_directories(path / "pki" / "trusted");
        std::ofstream(path / "pki" / "trusted" / "file") << "text";
    }
    EXPECT_FALSE(fs::exists(path));
}
