#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "failure.h"
#include "files/library_files.h"
#include "security/user_certificate.h"
#include "support/temporary_directory.h"

using namespace opcua_cli;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

class UserCertificateFiles : public testing::Test {
protected:
    UserCertificateFiles() {
        setenv(directoryVariable, m_directory.path().c_str(), 1);
        for (const char* file : {"otto.der", "otto.pem", "nina.der", "nina.pem"})
            std::ofstream(m_directory.path() / file) << file;
    }
    ~UserCertificateFiles() override { unsetenv(directoryVariable); }

    UserCertificate filesOf(const std::string& name) const {
        return {m_directory.path() / (name + ".der"), m_directory.path() / (name + ".pem")};
    }
    /// What an administrator may do by hand.
    void link(const std::string& name) const {
        fs::create_directories(m_certificate.parent_path());
        fs::create_directories(m_key.parent_path());
        fs::create_symlink(filesOf(name).certificate, m_certificate);
        fs::create_symlink(filesOf(name).key, m_key);
    }
    /// Whose certificate and key the library would find.
    std::string placed() const { return contentOf(m_certificate) + "|" + contentOf(m_key); }

    test_support::TemporaryDirectory m_directory;
    const fs::path m_certificate = m_directory.path() / "pkiuser/own/certs/user.der";
    const fs::path m_key = m_directory.path() / "pkiuser/own/private/user.pem";

private:
    static std::string contentOf(const fs::path& file) {
        std::string text;
        std::ifstream(file) >> text;
        return text;
    }
};

} // namespace

TEST_F(UserCertificateFiles, AreThereAsLongAsTheyAreNeeded) {
    {
        const PlacedUserCertificate present(filesOf("otto"));
        EXPECT_EQ(placed(), "otto.der|otto.pem");
    }
    EXPECT_FALSE(fs::is_symlink(m_certificate));
    EXPECT_FALSE(fs::is_symlink(m_key));
}

TEST_F(UserCertificateFiles, LinksThatSomebodyElseMadeStay) {
    link("otto");
    {
        const PlacedUserCertificate kept({});
    }
    EXPECT_EQ(placed(), "otto.der|otto.pem");
    for (const char* name : {"nina", "otto"}) {
        try {
            const PlacedUserCertificate refused(filesOf(name));
            FAIL() << name;
        } catch (const Failure& failure) {
            EXPECT_THAT(failure.problem().advice, HasSubstr("--user-cert default"));
        }
        EXPECT_EQ(placed(), "otto.der|otto.pem");
    }
}

TEST_F(UserCertificateFiles, WhereThereIsNoPlaceForThemTheConnectFailsAndNotTheProgram) {
    std::ofstream(m_directory.path() / "pkiuser") << "a file where a directory should be";
    try {
        const PlacedUserCertificate nowhere(filesOf("otto"));
        FAIL();
    } catch (const Failure& failure) {
        EXPECT_THAT(failure.problem().explanation, HasSubstr("pkiuser"));
    }
}

TEST_F(UserCertificateFiles, LinksOfARunThatWasKilledGo) {
    {
        const PlacedUserCertificate killed(filesOf("otto"));
        for (const fs::path& file : {m_certificate, m_key})
            fs::copy_symlink(file, file.string() + ".left");
    }
    for (const fs::path& file : {m_certificate, m_key})
        fs::rename(file.string() + ".left", file);
    EXPECT_EQ(placed(), "otto.der|otto.pem");
    const PlacedUserCertificate next(filesOf("nina"));
    EXPECT_EQ(placed(), "nina.der|nina.pem");
}
