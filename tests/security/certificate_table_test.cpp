// Every row of the verification table through the whole library: a server with that certificate, a store, and
// an application that rejects, accepts once, and trusts permanently.
#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "certificate_server.h"
#include "material.h"
#include "secured_client_fixture.h"
#include "support/temporary_directory.h"
#include "uapki/certificate.h"
#include "verification_cases.h"

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using namespace verification_cases;

namespace {

constexpr int connectFailed = 1;
constexpr int notSaved = 22;
constexpr int rejected = 23;

const char* const policies[]{policyNone, basic128, basic256, basic256Sha256, aes128, aes256};

std::string bytesOf(const UaByteString& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(bytes.length())};
}

const char* const unserved[]{"trailing",
                             "self_unknown_critical",
                             "self_malformed_usage",
                             "self_address_of_three_bytes",
                             "self_address_blocks",
                             "self_demanding_policies",
                             "self_proxy",
                             "self_system_numbers",
                             "self_unusable_key",
                             "by_root_edwards",
                             "by_middle_edwards"};

/// What the plant server can start with. A chain (of which its stack shows the first certificate alone), what
/// is no certificate, and what its stack cannot parse, are announced by a stand-in that nobody can open a
/// channel to.
bool isServed(const Case& row) {
    const std::vector<std::string> sent = material::words(row.sent);
    return sent.size() == 1 &&
           std::find(std::begin(unserved), std::end(unserved), sent.front()) == std::end(unserved) &&
           !UaPkiCertificate::fromDER(material::chain(row.sent)).isNull();
}

/// Nobody is asked about a key whose length does not suit the token policy, which demands more than the
/// channel without security: no password is encrypted to it.
bool canSecureAChannel(const Case& row) {
    const std::string sent = row.sent;
    const bool suitsTokens = sent != "self_tiny" && sent != "self_short" && sent != "self_too_long";
    return isServed(row) && (suitsTokens || row.policy != policyNone);
}

class ServerCertificate : public SecuredClientTest {
public:
    explicit ServerCertificate(const Case& row) : m_row(row) {}

    void TestBody() override {
        startItsServer();
        if (m_row.expected == good) {
            expectAcceptedWithoutAsking();
            return;
        }
        expectRejectionSavesNothing();
        expectOnceIsAskedEachTime();
        expectAlwaysIsSaved();
    }

private:
    void startItsServer() {
        const std::string chain = bytesOf(material::chain(m_row.sent));
        if (isServed(m_row)) {
            const fs::path file = m_directory.path() / "server.der";
            std::ofstream(file, std::ios::binary) << chain;
            const std::string key = material::words(m_row.sent).front() + ".key";
            const fs::path keyFile =
                fs::exists(material::file(key)) ? material::file(key) : material::file("server.key");
            m_url =
                startServer({"--legacy", "--certificate", file.string(), "--private-key", keyFile.string()})
                    .url();
        } else {
            m_standIn = std::make_unique<CertificateServer>(chain, MATERIAL_URI);
            m_url = m_standIn->url();
        }
    }

    /// The row's store, as if nobody had decided anything yet.
    void fillStore() {
        for (const char* kept : {"trusted", "issuers"})
            fs::remove_all(directory() / "pkiclient" / kept);
        const material::StoreFolders folders(directory() / "pkiclient");
        material::StoreFolders::fill(folders.trusted, m_row.trusted, ".der");
        material::StoreFolders::fill(folders.trustedLists, m_row.trustedLists, ".crl");
        material::StoreFolders::fill(folders.issuers, m_row.issuers, ".der");
        material::StoreFolders::fill(folders.issuerLists, m_row.issuerLists, ".crl");
    }

    int connectOnce(Operator& decider) {
        COpcUaClientInterface panel;
        startTrace();
        EXPECT_EQ(panel.installOpcUaCallBack(&decider), 0);
        const int policy = static_cast<int>(
            std::find_if(std::begin(policies), std::end(policies),
                         [this](const char* uri) { return std::string(uri) == m_row.policy; }) -
            std::begin(policies));
        // Without a secured channel it is the password that wants the certificate.
        const SecurityChoice choice{policy, policy == 0 ? 0 : SecurityChoice::signAndEncrypt,
                                    policy == 0 ? SecurityChoice::byPassword : SecurityChoice::anonymous};
        _OpcUaClientConfig config = securedConfig(m_url, choice);
        const int code = panel.OpcUaConnect(config);
        char text[256] = {};
        panel.GetErrorMsg(text, sizeof text);
        m_message = text;
        return code;
    }

    void expectAcceptedWithoutAsking() {
        Operator never(Operator::reject);
        fillStore();
        const std::vector<std::string> before = namesIn(trustList());
        EXPECT_EQ(connectOnce(never), codeOfAccepted()) << trace();
        EXPECT_EQ(never.asked, 0);
        EXPECT_EQ(namesIn(trustList()), before);
        EXPECT_THAT(trace(), Not(HasSubstr("does not pass")));
    }

    void expectRejectionSavesNothing() {
        Operator rejecting(Operator::reject);
        fillStore();
        const std::vector<std::string> before = namesIn(trustList());
        EXPECT_EQ(connectOnce(rejecting), rejected) << trace();
        EXPECT_EQ(m_message, "检查服务器证书是否信任时出错");
        EXPECT_EQ(rejecting.asked, 1);
        EXPECT_EQ(rejecting.last.thumbprint, thumbprint());
        EXPECT_EQ(namesIn(trustList()), before);
        EXPECT_THAT(trace(),
                    AllOf(HasSubstr("the server's certificate does not pass"), HasSubstr(statusName()),
                          HasSubstr("refused by this client: the application rejected " + server()),
                          HasSubstr(trustList().string())));
    }

    void expectOnceIsAskedEachTime() {
        Operator accepting(Operator::once);
        fillStore();
        const std::vector<std::string> before = namesIn(trustList());
        const int code = codeOfAccepted();
        for (int times = 1; times <= 2; ++times) {
            EXPECT_EQ(connectOnce(accepting), code) << trace();
            EXPECT_EQ(accepting.asked, times);
        }
        EXPECT_EQ(namesIn(trustList()), before);
        EXPECT_THAT(trace(),
                    AllOf(HasSubstr("the application accepted " + server()), HasSubstr(statusName())));
    }

    void expectAlwaysIsSaved() {
        Operator trusting(Operator::always);
        fillStore();
        std::vector<std::string> expected = namesIn(trustList());
        const int code = connectOnce(trusting);
        EXPECT_EQ(trusting.asked, 1);
        if (leaf().isNull()) {
            EXPECT_EQ(code, notSaved) << trace();
            EXPECT_EQ(m_message, "检查服务器证书是否信任时出错");
            EXPECT_EQ(namesIn(trustList()), expected);
            return;
        }
        expected.push_back(thumbprint() + ".der");
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(namesIn(trustList()), expected);
        EXPECT_EQ(material::read(trustList() / (thumbprint() + ".der")), leaf().toDER());
        if (m_row.expectedOnceTrusted == good) {
            EXPECT_EQ(code, codeOfAccepted()) << trace();
            EXPECT_EQ(connectOnce(trusting), code) << trace();
            EXPECT_EQ(trusting.asked, 1); // found again
        } else {
            expectStillRefused(code);
            expectStillRefused(connectOnce(trusting));
            EXPECT_EQ(trusting.asked, 2); // it is in the list, but does not pass
        }
    }

    void expectStillRefused(int code) const {
        EXPECT_EQ(code, connectFailed) << trace();
        EXPECT_EQ(m_message, "连接服务器失败");
        EXPECT_THAT(trace(), AllOf(HasSubstr("refused by this client: " + server()),
                                   HasSubstr(UaStatus(m_row.expectedOnceTrusted).name())));
    }

    int codeOfAccepted() const { return canSecureAChannel(m_row) ? 0 : connectFailed; }
    UaPkiCertificate leaf() const { return UaPkiCertificate::fromDER(material::chain(m_row.sent)); }
    std::string thumbprint() const { return leaf().thumbPrint().toHex(false).text(); }
    std::string server() const {
        return material::chain(m_row.sent).length() == 0 ? "the server without a certificate"
                                                         : "the server's " + leaf().description().text();
    }
    std::string statusName() const { return UaStatus(m_row.expected).name(); }

    const Case& m_row;
    test_support::TemporaryDirectory m_directory;
    std::unique_ptr<CertificateServer> m_standIn;
    std::string m_url;
    std::string m_message;
};

/// A test of its own for every row that a connect can ask for, under the row's name.
const bool registered = [] {
    for (const Case& row : cases) {
        if (std::string(row.policy) != unknownPolicy) {
            testing::RegisterTest("ServerCertificate", row.name, nullptr, nullptr, __FILE__, __LINE__,
                                  [&row]() -> SecuredClientTest* { return new ServerCertificate(row); });
        }
    }
    return true;
}();

} // namespace
