#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "material.h"
#include "support/temporary_directory.h"
#include "uapki/certificate_verifier.h"
#include "uapki/provider.h"

// What a hostile server or a broken disk may hand over. The sanitizers are what these tests are for; the
// expectations hold whatever the bytes are.

namespace {

constexpr const char* basic256Sha256 = "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";
constexpr int rounds = 500;

/// Changes, cuts, repeats and swaps bytes; the same sequence in every run.
class Mutator {
public:
    explicit Mutator(const UaByteString& seed) : m_seed(seed.data(), seed.data() + seed.length()) {}

    std::vector<OpcUa_Byte> next() {
        std::vector<OpcUa_Byte> bytes = m_seed;
        for (std::size_t changes = 1 + pick(4); changes > 0; --changes)
            mutate(bytes);
        return bytes;
    }

private:
    std::size_t pick(std::size_t limit) { return limit == 0 ? 0 : m_random() % limit; }

    void mutate(std::vector<OpcUa_Byte>& bytes) {
        auto at = static_cast<std::ptrdiff_t>(pick(bytes.size()));
        auto count = static_cast<std::ptrdiff_t>(pick(bytes.size() - static_cast<std::size_t>(at)));
        switch (pick(5)) {
        case 0:
            bytes.resize(static_cast<std::size_t>(at) + 1);
            break;
        case 1:
            bytes.erase(bytes.begin() + at, bytes.begin() + at + count);
            break;
        case 2: {
            std::vector<OpcUa_Byte> copy(bytes.begin() + at, bytes.begin() + at + count);
            bytes.insert(bytes.begin() + at, copy.begin(), copy.end());
            break;
        }
        default:
            if (!bytes.empty())
                bytes[static_cast<std::size_t>(at)] = static_cast<OpcUa_Byte>(m_random());
        }
    }

    std::vector<OpcUa_Byte> m_seed;
    std::mt19937 m_random{20260601};
};

UaByteString byteString(const std::vector<OpcUa_Byte>& bytes) {
    return UaByteString(static_cast<int>(bytes.size()), bytes.data());
}

TEST(ArbitraryBytes, ACertificateIsReadWhollyOrNotAtAll) {
    for (const char* seed : {"self_good", "self_two_uris", "root"}) {
        Mutator mutator(material::chain(seed));
        for (int i = 0; i < rounds; ++i) {
            const UaByteString bytes = byteString(mutator.next());
            const UaPkiCertificate certificate = UaPkiCertificate::fromDER(bytes);
            certificate.isValid();
            certificate.subject();
            certificate.issuer();
            certificate.info();
            certificate.serialNumber();
            certificate.validFrom().toString();
            certificate.validTo().toString();
            const UaByteString der = certificate.toDER();
            ASSERT_LE(der.length(), bytes.length());
            ASSERT_TRUE(std::equal(der.data(), der.data() + der.length(), bytes.data()));
            ASSERT_EQ(certificate.isNull(), certificate.thumbPrint().size() == 0);
        }
    }
}

TEST(ArbitraryBytes, NoChangedChainIsTrusted) {
    const test_support::TemporaryDirectory directory;
    const material::StoreFolders folders(directory.path());
    folders.fill(folders.trusted, "root", ".der");
    folders.fill(folders.trustedLists, "root middle", ".crl");
    UaPkiCertificateVerifier verifier{UaPkiStore(folders.locations())};
    auto verify = [&verifier](const UaByteString& chain) {
        return verifier.verify(chain, "urn:plant:server", basic256Sha256, material::verificationTime())
            .status;
    };
    const UaByteString chain = material::chain("by_middle middle");
    ASSERT_TRUE(verify(chain).isGood());
    Mutator mutator(chain);
    for (int i = 0; i < rounds; ++i) {
        const UaByteString changed = byteString(mutator.next());
        // Only what is still the very same certificate passes: behind it anything well-formed may stand.
        const bool sameStart = changed.length() >= chain.length() &&
                               std::equal(chain.data(), chain.data() + chain.length(), changed.data());
        ASSERT_TRUE(sameStart || verify(changed).isBad()) << "round " << i;
    }
}

TEST(ArbitraryBytes, RevocationListsAndStoreFilesAreUsedOrPassedOver) {
    const test_support::TemporaryDirectory directory;
    const material::StoreFolders folders(directory.path());
    folders.fill(folders.trusted, "root", ".der");
    const UaPkiCertificateVerifier verifier{UaPkiStore(folders.locations())};
    for (const char* seed : {"root_revoking.crl", "root_revoking.crl.pem"}) {
        Mutator mutator(material::read(material::file(seed)));
        for (int i = 0; i < rounds / 3; ++i) {
            std::vector<OpcUa_Byte> bytes = mutator.next();
            material::write(folders.trustedLists / "list", std::string(bytes.begin(), bytes.end()));
            const UaStatus status = verifier
                                        .verify(material::chain("by_root_revoked"), "urn:plant:server",
                                                basic256Sha256, material::verificationTime())
                                        .status;
            ASSERT_TRUE(status.statusCode() == OpcUa_BadCertificateRevoked ||
                        status.statusCode() == OpcUa_BadCertificateRevocationUnknown)
                << seed << " round " << i << ": " << status.name();
        }
    }
}

TEST(ArbitraryBytes, AKeyFileGivesAKeyOrAStatus) {
    const test_support::TemporaryDirectory directory;
    const std::string file = (directory.path() / "key.pem").string();
    UaPkiProviderOpenSSL provider("", "");
    Mutator mutator(material::read(material::file("server.key")));
    for (int i = 0; i < rounds; ++i) {
        std::vector<OpcUa_Byte> bytes = mutator.next();
        material::write(file, std::string(bytes.begin(), bytes.end()));
        OpcUa_Key key{};
        OpcUa_Key_Initialize(&key);
        const UaStatus status = provider.loadPrivateKey(file, OpcUa_KeyEncoding_Pem, "password", &key);
        ASSERT_EQ(status.isGood(), key.type != OpcUa_KeyType_Invalid);
        OpcUa_Key_Clear(&key);
    }
}

} // namespace
