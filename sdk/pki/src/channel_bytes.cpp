#include <array>
#include <climits>
#include <cstddef>
#include <vector>

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include "openssl_handles.h"
#include "openssl_use.h"
#include "uapki/asymmetric_keys.h"

namespace {

/// The DER sequence that the bytes begin with; nothing when they begin with something else, or it goes on
/// behind their end.
UaByteView firstSequence(const UaByteString& bytes) {
    const unsigned char* content = bytes.data();
    long length = 0;
    int tag = 0;
    int tagClass = 0;
    const int form = ASN1_get_object(&content, &length, &tag, &tagClass, bytes.length());
    if (form != V_ASN1_CONSTRUCTED || tag != V_ASN1_SEQUENCE || tagClass != V_ASN1_UNIVERSAL)
        return {};
    return {bytes.data(), static_cast<std::size_t>(content - bytes.data() + length)};
}

} // namespace

// Parsing a certificate takes OpenSSL a hundred times as long as this.
std::vector<OpcUa_Byte> UaPkiThumbprint(const UaByteString& certificate) {
    const pki::OpenSslUse use;
    if (!use.isPossible())
        return {};
    const UaByteView der = firstSequence(certificate);
    std::array<OpcUa_Byte, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (der.size == 0 || EVP_Digest(der.data, der.size, digest.data(), &length, EVP_sha1(), nullptr) != 1)
        return {};
    return {digest.data(), digest.data() + length};
}

bool UaPkiRandomBytes(OpcUa_Byte* bytes, std::size_t count) {
    if (count == 0)
        return true;
    const pki::OpenSslUse use;
    return use.isPossible() && count <= INT_MAX && RAND_bytes(bytes, static_cast<int>(count)) == 1;
}

void UaPkiWipe(void* bytes, std::size_t count) {
    OPENSSL_cleanse(bytes, count);
}
