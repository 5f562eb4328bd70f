// Stores and chains in which more than one certificate could be the issuer, up to those that somebody has
// filled to hold the verification up.
#include <deque>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>

#include "material.h"
#include "support/temporary_directory.h"
#include "uapki/certificate_verifier.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* basic256Sha256 = "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";
constexpr int bits = 2048;

/// An authority, or a server, made for the case.
struct Holder {
    explicit Holder(const std::string& name) { identity.commonName = name; }

    UaPkiCertificate certifiedBy(const Holder& issuer, bool asAuthority = true) const {
        UaPkiCertificateInfo info;
        info.uri = "urn:plant:server";
        info.validTime = 3600;
        info.backdateTime = 60;
        info.pathLength = 100;
        return UaPkiCertificate(info, identity, keys.publicKey(), issuer.identity, issuer.keys.privateKey(),
                                asAuthority, UaPkiCertificate::Sha256);
    }

    UaPkiIdentity identity;
    UaPkiRsaKeyPair keys{bits};
};

class IssuerSearch : public testing::Test {
protected:
    void addIssuer(const UaPkiCertificate& certificate) { add(certificate, m_folders.issuers); }
    void add(const UaPkiCertificate& certificate, const fs::path& folder) {
        const UaByteString der = certificate.toDER();
        material::write(folder / std::to_string(m_count++),
                        std::string(der.data(), der.data() + der.length()));
    }

    /// The first objection, in one line.
    std::string verify(const UaPkiCertificate& leaf) {
        const UaPkiVerification result =
            UaPkiCertificateVerifier(UaPkiStore(m_folders.locations()))
                .verify(leaf.toDER(), "urn:plant:server", basic256Sha256, UaDateTime::now());
        return result.findings.empty() ? "" : result.findings.front().toString().text();
    }

    test_support::TemporaryDirectory m_directory;
    material::StoreFolders m_folders{m_directory.path()};
    int m_count = 0;
};

TEST_F(IssuerSearch, TenAuthoritiesBetweenServerAndRootAreFollowedAndElevenAreNot) {
    std::deque<Holder> authorities;
    for (int below = 0; below <= 11; ++below) {
        const Holder& added = authorities.emplace_back("authority " + std::to_string(below));
        addIssuer(added.certifiedBy(authorities[below == 0 ? 0 : authorities.size() - 2]));
    }
    const Holder server("server");
    EXPECT_THAT(verify(server.certifiedBy(authorities[10], false)),
                testing::StartsWith("trust list: neither the certificate nor one of its issuers"));
    EXPECT_THAT(verify(server.certifiedBy(authorities[11], false)),
                testing::StartsWith("certificate chain: there are too many issuers above it"));
}

TEST_F(IssuerSearch, AuthoritiesThatCertifyEachOtherEndNowhere) {
    const Holder one("one");
    const Holder other("other");
    const Holder server("server");
    addIssuer(one.certifiedBy(other));
    addIssuer(other.certifiedBy(one));
    EXPECT_THAT(verify(server.certifiedBy(one, false)),
                testing::StartsWith("certificate chain: its issuer's certificate is missing"));
}

/// Whoever has certificates of his own trusted can make any number of them with an authority's name.
TEST_F(IssuerSearch, ManyOfTheIssuersNameAreTriedUpToALimit) {
    const Holder root("root");
    const Holder stranger("root");
    const Holder server("server");
    const UaPkiCertificate leaf = server.certifiedBy(root, false);
    add(root.certifiedBy(root), m_folders.trusted);
    for (int i = 0; i < 300; ++i)
        addIssuer(stranger.certifiedBy(stranger));
    EXPECT_THAT(verify(leaf), testing::StartsWith("find revocation list: there is no revocation list"));
    fs::remove_all(m_folders.trusted);
    EXPECT_THAT(verify(leaf), testing::StartsWith("certificate chain: its issuer's certificate is missing"));
    for (int i = 0; i < 300; ++i)
        addIssuer(stranger.certifiedBy(stranger));
    EXPECT_THAT(verify(leaf), testing::StartsWith("certificate chain: too many certificates could be"));
}

/// Each of these certifies each other: there are more ways through them than anybody could try.
TEST_F(IssuerSearch, AMazeOfCrossCertificatesIsLeft) {
    constexpr int corners = 8;
    const Holder server("server");
    std::deque<Holder> holders;
    for (int i = 0; i < corners; ++i)
        holders.emplace_back("authority " + std::to_string(i));
    for (const Holder& subject : holders) {
        for (const Holder& issuer : holders)
            if (&subject != &issuer)
                addIssuer(subject.certifiedBy(issuer));
    }
    const UaPkiCertificate leaf = server.certifiedBy(holders.front(), false);
    EXPECT_THAT(verify(leaf), testing::StartsWith("certificate chain: too many certificates could be"));
    // A short way out is found all the same.
    add(holders.back().certifiedBy(holders.back()), m_folders.trusted);
    EXPECT_THAT(verify(leaf), testing::StartsWith("find revocation list: there is no revocation list"));
}

} // namespace
