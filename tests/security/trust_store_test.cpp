// The trust list as a directory that lives longer than a process, and in which anything may lie.
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "certificate_server.h"
#include "material.h"
#include "secured_client_fixture.h"
#include "support/unprivileged.h"
#include "uapki/certificate.h"

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class TrustStore : public SecuredClientTest {
protected:
    TrustStore() { startServer({"--security"}); }

    static void configure(const std::string& line) {
        std::ofstream(directory() / "OpcUaClientConfig.ini") << "[UaClientConfig]\n" << line << "\n";
    }

    /// Code of a connect in a process of its own, and how often the application was asked there: 10 x asked +
    /// code.
    int connectInNewProcess(int answer, int (*run)(const std::function<int()>&) = runInChild) {
        return run([this, answer] {
            Operator decider(answer);
            startTrace();
            client.installOpcUaCallBack(&decider);
            const int code = secureConnect();
            client.OpcUaDisConnect();
            return 10 * decider.asked + code;
        });
    }
    static constexpr int accepted = 0;
    static constexpr int asked = 10;
    static constexpr int rejected = 23;
};

TEST_F(TrustStore, WhatIsTrustedPermanentlyIsFoundByAnotherProcess) {
    EXPECT_EQ(connectInNewProcess(Operator::always), asked + accepted);
    EXPECT_EQ(connectInNewProcess(Operator::reject), accepted);
    EXPECT_EQ(namesIn(trustList()).size(), 1U);
}

TEST_F(TrustStore, WhatIsAcceptedOnceIsAskedAgainByAnotherProcess) {
    EXPECT_EQ(connectInNewProcess(Operator::once), asked + accepted);
    EXPECT_EQ(connectInNewProcess(Operator::reject), asked + rejected);
    EXPECT_THAT(namesIn(trustList()), IsEmpty());
}

TEST_F(TrustStore, ASettingWithoutItsLastSlashNamesTheSameDirectory) {
    configure("CertificateTrustListLocation=[ConfigPath]/pkiclient/trusted/certs");
    EXPECT_EQ(connectInNewProcess(Operator::always), asked + accepted);
    EXPECT_EQ(namesIn(trustList()).size(), 1U);
    EXPECT_EQ(connectInNewProcess(Operator::reject), accepted);
    configure("CertificateTrustListLocation=[ConfigPath]/pkiclient/trusted/certs/");
    EXPECT_EQ(connectInNewProcess(Operator::reject), accepted);
}

TEST_F(TrustStore, WithoutAnApplicationTheFirstCertificateIsTrusted) {
    ASSERT_EQ(secureConnect(), 0);
    EXPECT_EQ(namesIn(trustList()).size(), 1U);
    Operator never(Operator::reject);
    ASSERT_EQ(client.installOpcUaCallBack(&never), 0);
    EXPECT_EQ(secureConnect(), 0);
    EXPECT_EQ(never.asked, 0);
}

TEST_F(TrustStore, TakenOutOfTheListItIsAskedAgain) {
    EXPECT_EQ(connectInNewProcess(Operator::always), asked + accepted);
    fs::remove(trustList() / namesIn(trustList()).at(0));
    EXPECT_EQ(connectInNewProcess(Operator::reject), asked + rejected);
}

TEST_F(TrustStore, UnreadableAndForeignFilesAreSkippedAndNamed) {
    ASSERT_EQ(connectInNewProcess(Operator::always), asked + accepted);
    for (const char* foreign : {"empty.der", "garbage.der", "megabyte.der", "truncated.der", "server.key"})
        fs::copy_file(material::file(foreign), trustList() / foreign);
    fs::create_directory(trustList() / "a directory");
    fs::create_symlink("nowhere", trustList() / "symlink");
    fs::copy_file(material::file("root.der"), trustList() / "protected.der");
    fs::permissions(trustList() / "protected.der", fs::perms::none);
    const std::vector<std::string> before = namesIn(trustList());
    giveToUnprivileged(directory());
    fs::permissions(directory(), fs::perms(0755));
    EXPECT_EQ(connectInNewProcess(Operator::reject, runUnprivileged), accepted);
    EXPECT_EQ(namesIn(trustList()), before);
    const std::string text = contentOf(directory() / "OpcUaClient.log");
    for (const char* skipped : {"empty.der", "garbage.der", "megabyte.der", "truncated.der", "server.key",
                                "a directory", "symlink", "protected.der"}) {
        EXPECT_THAT(text, HasSubstr("passed over " + (trustList() / skipped).string()));
    }
}

/// No certificate authority writes such a URI, but servers that make their own certificates do.
TEST_F(TrustStore, AUriThatIsNotAsciiIsTheSameWhenItsBytesAre) {
    const std::string announced = MATERIAL_URI ":\xC3\xA4";
    for (const char* name : {"self_uri_in_utf8", "self_uri_in_latin1"}) {
        const CertificateServer server(contentOf(material::file(std::string(name) + ".der")), announced);
        fs::create_directories(trustList());
        fs::copy_file(material::file(std::string(name) + ".der"), trustList() / name);
        Operator rejecting(Operator::reject);
        COpcUaClientInterface panel;
        ASSERT_EQ(panel.installOpcUaCallBack(&rejecting), 0);
        _OpcUaClientConfig config = securedConfig(server.url(), {});
        const bool isSame = std::string(name) == "self_uri_in_utf8";
        EXPECT_EQ(panel.OpcUaConnect(config), isSame ? 1 : rejected); // no channel leads to this server
        EXPECT_EQ(rejecting.asked, isSame ? 0 : 1);
        EXPECT_EQ(rejecting.last.applicationUri, isSame ? "" : announced);
    }
}

/// The application hears of a certificate's issuer; where an authority issued it, the server's own name is
/// not in it.
TEST_F(TrustStore, TheApplicationIsGivenAllTwelveTexts) {
    startServer({"--certificate", material::file("by_root.der").string(), "--private-key",
                 material::file("server.key").string()});
    Operator rejecting(Operator::reject);
    ASSERT_EQ(client.installOpcUaCallBack(&rejecting), 0);
    EXPECT_EQ(secureConnect(), 23);
    const UaPkiCertificate certificate = UaPkiCertificate::fromDER(material::chain("by_root"));
    EXPECT_EQ(rejecting.last.commonName, "root");
    for (const std::string& absent :
         {rejecting.last.organization, rejecting.last.organizationUnit, rejecting.last.locality,
          rejecting.last.state, rejecting.last.country, rejecting.last.domainComponent}) {
        EXPECT_EQ(absent, "");
    }
    EXPECT_EQ(rejecting.last.applicationUri, MATERIAL_URI);
    EXPECT_EQ(rejecting.last.serialNumber, certificate.serialNumber().text());
    EXPECT_EQ(rejecting.last.thumbprint, certificate.thumbPrint().toHex(false).text());
    EXPECT_THAT(rejecting.last.validFrom, HasSubstr("2020-01-01"));
    EXPECT_THAT(rejecting.last.validTo, HasSubstr("2049-01-01"));
}

} // namespace
