#include <string>

#include <gtest/gtest.h>

#include "material.h"
#include "support/temporary_directory.h"
#include "uapki/asymmetric_keys.h"
#include "uapki/certificate_verifier.h"
#include "verification_cases.h"

namespace {

using namespace verification_cases;

constexpr const char* serverUri = "urn:plant:server";

std::string explain(const UaPkiVerification& result) {
    std::string text = result.status.name();
    for (const UaPkiFinding& finding : result.findings)
        text += "\n  " + finding.toString().text();
    return text;
}

bool hasRsaKey(const Case& row) {
    const std::string sent = row.sent;
    return sent != "by_root_edwards" && sent != "self_unusable_key";
}

UaPkiVerification verify(const UaPkiStore& store, const Case& row) {
    return UaPkiCertificateVerifier(store).verify(material::chain(row.sent), serverUri, row.policy,
                                                  material::verificationTime());
}

/// What passes verification serves the channel, and what is no certificate here is none there.
void expectTheChannelAgrees(const Case& row) {
    const UaPkiSecurityPolicy* policy = UaPkiSecurityPolicy::find(row.policy);
    if (policy == nullptr || policy->isNone())
        return;
    const UaByteString sent = material::chain(row.sent);
    UaPkiPeerKey key;
    const UaStatus opened = UaPkiPeerKey::open(*policy, sent, UaPkiPeerKey::Limits::Enforced, key);
    EXPECT_TRUE(opened.isGood() || row.expected != good) << opened.name();
    const UaPkiCertificate leaf = UaPkiCertificate::fromDER(sent);
    EXPECT_EQ(opened.statusCode() == OpcUa_BadCertificateInvalid, leaf.isNull() || !hasRsaKey(row))
        << opened.name();
}

class CertificateTable : public testing::Test {
public:
    explicit CertificateTable(const Case& row) : m_row(row) {}

    void TestBody() override {
        const test_support::TemporaryDirectory directory;
        const material::StoreFolders folders(directory.path());
        folders.fill(folders.trusted, m_row.trusted, ".der");
        folders.fill(folders.trustedLists, m_row.trustedLists, ".crl");
        folders.fill(folders.issuers, m_row.issuers, ".der");
        folders.fill(folders.issuerLists, m_row.issuerLists, ".crl");
        const UaPkiStore store(folders.locations());

        UaPkiVerification result = verify(store, m_row);
        EXPECT_STREQ(result.status.name(), UaStatus(m_row.expected).name()) << explain(result);
        EXPECT_EQ(result.findings.empty(), m_row.expected == OpcUa_Good) << explain(result);
        EXPECT_EQ(result.skippedFiles.empty(), !m_row.hasSpoiltFiles());

        expectTheChannelAgrees(m_row);

        const UaPkiCertificate leaf = UaPkiCertificate::fromDER(material::chain(m_row.sent));
        const UaStatus saved = store.saveTrusted(leaf, leaf.thumbPrint().toHex(false));
        EXPECT_EQ(saved.isGood(), !leaf.isNull()) << saved.name();
        result = verify(store, m_row);
        EXPECT_STREQ(result.status.name(), UaStatus(m_row.expectedOnceTrusted).name()) << explain(result);
    }

private:
    const Case& m_row;
};

/// A test of its own for every row, under the row's name.
const bool registered = [] {
    for (const Case& row : cases) {
        testing::RegisterTest("CertificateTable", row.name, nullptr, nullptr, __FILE__, __LINE__,
                              [&row]() -> testing::Test* { return new CertificateTable(row); });
    }
    return true;
}();

} // namespace
