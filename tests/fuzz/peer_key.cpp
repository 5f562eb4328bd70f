// A server's certificate, opened for the secure channel: whatever it is, it gives a key that can be used, or
// none.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_target.h"
#include "uapki/asymmetric_keys.h"

namespace {

using Limits = UaPkiPeerKey::Limits;

void use(const UaPkiPeerKey& key) {
    const std::array<OpcUa_Byte, 32> secret{};
    const std::vector<OpcUa_Byte> cipher = key.encrypt({secret.data(), secret.size()});
    // An even modulus, or an exponent of another world, encrypts nothing.
    require(cipher.empty() || (cipher.size() % key.blockLength() == 0 && cipher.size() >= secret.size()),
            "cipher text is of whole blocks");
    // With the exponent 1 a signature is what it signs; this is none by any exponent.
    const std::vector<OpcUa_Byte> signature(key.blockLength());
    require(!key.verify({secret.data(), secret.size()}, {signature.data(), signature.size()}),
            "nothing but zeros is no signature");
}

void open(const UaPkiSecurityPolicy& policy, const UaByteString& certificate) {
    UaPkiPeerKey enforced;
    UaPkiPeerKey decided;
    const UaStatus strict = UaPkiPeerKey::open(policy, certificate, Limits::Enforced, enforced);
    const UaStatus lenient = UaPkiPeerKey::open(policy, certificate, Limits::AlreadyDecidedOn, decided);
    require(strict.isGood() == enforced.isValid() && lenient.isGood() == decided.isValid(),
            "there is a key exactly when it is good");
    require(strict.isBad() || lenient.isGood(), "whoever is strict accepts less");
    if (decided.isValid()) {
        require(decided.plainBlockLength() > 0 && decided.plainBlockLength() < decided.blockLength(),
                "a block takes something");
        require(UaPkiThumbprint(certificate).size() == 20, "a certificate has a thumbprint");
        use(decided);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const UaByteString certificate(static_cast<int>(size), data);
    UaPkiThumbprint(certificate);
    for (const char* name : {"Basic128Rsa15", "Basic256", "Basic256Sha256", "Aes256_Sha256_RsaPss"}) {
        const std::string uri = std::string("http://opcfoundation.org/UA/SecurityPolicy#") + name;
        open(*UaPkiSecurityPolicy::find(uri), certificate);
    }
    return 0;
}
