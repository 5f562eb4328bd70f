// A certificate from a server, and the same bytes as every file of the store: certificates and revocation
// lists, DER and PEM.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "fuzz_target.h"
#include "memory_file.h"
#include "support/temporary_directory.h"
#include "uapki/certificate_verifier.h"

namespace fs = std::filesystem;

namespace {

/// A store whose four directories hold one file with the input.
class InputStore {
public:
    InputStore() {
        for (std::size_t i = 0; i < m_locations.size(); ++i) {
            const fs::path folder = m_directory.path() / std::to_string(i);
            fs::create_directory(folder);
            fs::create_symlink(m_file.path(), folder / "input");
            m_locations[i] = UaString(folder.string() + '/');
        }
    }

    void setContent(const std::uint8_t* data, std::size_t size) { m_file.setContent(data, size); }
    UaPkiCertificateVerifier verifier() const {
        return UaPkiCertificateVerifier(
            UaPkiStore({m_locations[0], m_locations[1], m_locations[2], m_locations[3]}));
    }

private:
    test_support::TemporaryDirectory m_directory;
    MemoryFile m_file;
    std::array<UaString, 4> m_locations;
};

void describe(const UaPkiCertificate& certificate) {
    certificate.isValid();
    certificate.subject();
    certificate.issuer();
    certificate.info();
    certificate.serialNumber();
    certificate.validFrom().toString();
    certificate.validTo().toString();
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static InputStore store;
    static const UaPkiCertificateVerifier emptyStore{UaPkiStore({})};
    const UaByteString bytes(static_cast<int>(size), data);
    const UaPkiCertificate certificate = UaPkiCertificate::fromDER(bytes);
    describe(certificate);
    const UaByteString der = certificate.toDER();
    require(der.length() <= bytes.length() && std::equal(der.data(), der.data() + der.length(), bytes.data()),
            "a certificate is the bytes it was read from");

    constexpr OpcUa_Int64 june2026 = 1780272000;
    constexpr const char* policy = "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";
    const auto verify = [&bytes](const UaPkiCertificateVerifier& verifier) {
        return verifier.verify(bytes, "urn:plant:server", policy, UaDateTime::fromUnixTime(june2026)).status;
    };
    require(verify(emptyStore).isBad(), "nothing is trusted by an empty store");
    store.setContent(data, size);
    require(verify(store.verifier()).isBad() || !certificate.isNull(), "what is trusted is a certificate");
    return 0;
}
