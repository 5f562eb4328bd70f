#include "rsa_private_key.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>

#include <openssl/core_names.h>
#include <openssl/obj_mac.h>
#include <openssl/objects.h>
#include <openssl/params.h>

#include "secret_bytes.h"

namespace pki {
namespace {

using KeyContextPtr = std::unique_ptr<EVP_PKEY_CTX, Releaser<EVP_PKEY_CTX_free>>;

/// The numbers of a key in the order of their encoding.
constexpr std::array<const char*, 8> numbers{OSSL_PKEY_PARAM_RSA_N,         OSSL_PKEY_PARAM_RSA_E,
                                             OSSL_PKEY_PARAM_RSA_D,         OSSL_PKEY_PARAM_RSA_FACTOR1,
                                             OSSL_PKEY_PARAM_RSA_FACTOR2,   OSSL_PKEY_PARAM_RSA_EXPONENT1,
                                             OSSL_PKEY_PARAM_RSA_EXPONENT2, OSSL_PKEY_PARAM_RSA_COEFFICIENT1};

/// Takes the content of the element that `rest` begins with.
bool take(UaByteView& rest, int expectedTag, UaByteView& content) {
    constexpr int constructedOrNot = V_ASN1_CONSTRUCTED;
    const unsigned char* position = rest.data;
    long length = 0;
    int tag = 0;
    int tagClass = 0;
    const int form = ASN1_get_object(&position, &length, &tag, &tagClass, static_cast<long>(rest.size));
    if ((form & ~constructedOrNot) != 0 || tag != expectedTag || tagClass != V_ASN1_UNIVERSAL)
        return false;
    content = {position, static_cast<std::size_t>(length)};
    rest = rest.from(static_cast<std::size_t>(position - rest.data) + content.size);
    return true;
}

bool takeVersion(UaByteView& rest) {
    UaByteView version;
    return take(rest, V_ASN1_INTEGER, version) && version.size == 1 && version.data[0] == 0;
}

bool isRsa(UaByteView oid) {
    const ASN1_OBJECT* rsa = OBJ_nid2obj(NID_rsaEncryption);
    return oid.size == OBJ_length(rsa) && std::equal(oid.data, oid.data + oid.size, OBJ_get0_data(rsa));
}

} // namespace

UaByteView rsaKeyWithin(UaByteView pkcs8) {
    const ErrorQueueGuard guard;
    UaByteView rest;
    UaByteView algorithm;
    UaByteView oid;
    UaByteView key;
    const bool found = take(pkcs8, V_ASN1_SEQUENCE, rest) && takeVersion(rest) &&
                       take(rest, V_ASN1_SEQUENCE, algorithm) && take(algorithm, V_ASN1_OBJECT, oid) &&
                       isRsa(oid) && take(rest, V_ASN1_OCTET_STRING, key);
    return found ? key : UaByteView();
}

KeyPtr readRsaPrivateKey(UaByteView der) {
    const ErrorQueueGuard guard;
    UaByteView rest;
    if (!take(der, V_ASN1_SEQUENCE, rest) || der.size != 0 || !takeVersion(rest))
        return nullptr;
    SecretBytes reversed(rest.size); // the engine takes numbers with their lowest byte first
    std::array<OSSL_PARAM, numbers.size() + 1> parameters{};
    unsigned char* target = reversed.bytes.data();
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        UaByteView number;
        if (!take(rest, V_ASN1_INTEGER, number) || number.size == 0 || number.data[0] >= 0x80)
            return nullptr;
        std::reverse_copy(number.data, number.data + number.size, target);
        parameters[i] = OSSL_PARAM_construct_BN(numbers[i], target, number.size);
        target += number.size;
    }
    parameters[numbers.size()] = OSSL_PARAM_construct_end();
    const KeyContextPtr context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY* key = nullptr;
    if (rest.size != 0 || context == nullptr || EVP_PKEY_fromdata_init(context.get()) != 1 ||
        EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_KEYPAIR, parameters.data()) != 1) {
        return nullptr;
    }
    return KeyPtr(key);
}

} // namespace pki
