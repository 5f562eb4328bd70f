#include "channel_material.h"

#include <cstddef>
#include <map>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/param_build.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include "uastack/status_code.h"

namespace channel {
namespace {

void require(bool done, const char* what) {
    if (!done)
        throw std::runtime_error(what);
}

Key owned(EVP_PKEY* key, const char* what) {
    require(key != nullptr, what);
    return Key(key, EVP_PKEY_free);
}

using KeyContext = std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)>;

Key generated(EVP_PKEY_CTX* made, const char* what) {
    const KeyContext context(made, EVP_PKEY_CTX_free);
    EVP_PKEY* key = nullptr;
    require(EVP_PKEY_keygen_init(context.get()) == 1 && EVP_PKEY_generate(context.get(), &key) == 1, what);
    return owned(key, what);
}

Key dsaKey() {
    const KeyContext context(EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr), EVP_PKEY_CTX_free);
    unsigned int bits = 1024;
    OSSL_PARAM parameters[] = {OSSL_PARAM_construct_uint(OSSL_PKEY_PARAM_FFC_PBITS, &bits),
                               OSSL_PARAM_construct_end()};
    EVP_PKEY* domain = nullptr;
    require(EVP_PKEY_paramgen_init(context.get()) == 1 &&
                EVP_PKEY_CTX_set_params(context.get(), parameters) == 1 &&
                EVP_PKEY_generate(context.get(), &domain) == 1,
            "DSA parameters");
    const Key owner = owned(domain, "DSA parameters");
    return generated(EVP_PKEY_CTX_new_from_pkey(nullptr, domain, nullptr), "DSA key");
}

} // namespace

const UaPkiSecurityPolicy& policy(const char* name) {
    const UaPkiSecurityPolicy* found = UaPkiSecurityPolicy::find(std::string(policyPrefix) + name);
    require(found != nullptr, "no such policy");
    return *found;
}

UaByteView view(const std::string& text) {
    return {reinterpret_cast<const OpcUa_Byte*>(text.data()), text.size()};
}

Bytes fromHex(const std::string& digits) {
    Bytes bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes.push_back(static_cast<OpcUa_Byte>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

Bytes counted(std::size_t count) {
    Bytes bytes(count);
    std::iota(bytes.begin(), bytes.end(), OpcUa_Byte{0});
    return bytes;
}

Key rsaKey(int bits, int which) {
    static std::map<std::pair<int, int>, Key> keys;
    Key& key = keys[{bits, which}];
    if (key == nullptr)
        key = owned(EVP_RSA_gen(static_cast<unsigned int>(bits)), "RSA key");
    return key;
}

Key publicRsaKey(int bits) {
    const std::unique_ptr<BIGNUM, decltype(&BN_free)> modulus(BN_new(), BN_free);
    const std::unique_ptr<BIGNUM, decltype(&BN_free)> exponent(BN_new(), BN_free);
    const std::unique_ptr<OSSL_PARAM_BLD, decltype(&OSSL_PARAM_BLD_free)> builder(OSSL_PARAM_BLD_new(),
                                                                                  OSSL_PARAM_BLD_free);
    require(BN_rand(modulus.get(), bits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ODD) == 1 &&
                BN_set_word(exponent.get(), RSA_F4) == 1 &&
                OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, modulus.get()) == 1 &&
                OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, exponent.get()) == 1,
            "modulus");
    const std::unique_ptr<OSSL_PARAM, decltype(&OSSL_PARAM_free)> parameters(
        OSSL_PARAM_BLD_to_param(builder.get()), OSSL_PARAM_free);
    const KeyContext context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr), EVP_PKEY_CTX_free);
    EVP_PKEY* key = nullptr;
    require(EVP_PKEY_fromdata_init(context.get()) == 1 &&
                EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, parameters.get()) == 1,
            "public RSA key");
    return owned(key, "public RSA key");
}

Key otherKey(const std::string& type) {
    if (type == "DSA")
        return dsaKey();
    if (type == "EC")
        return owned(EVP_EC_gen("P-256"), "EC key");
    return generated(EVP_PKEY_CTX_new_from_name(nullptr, type.c_str(), nullptr), type.c_str());
}

UaByteString certificateOf(const Key& key) {
    const std::unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), X509_free);
    X509_NAME* name = X509_get_subject_name(certificate.get());
    require(X509_set_version(certificate.get(), X509_VERSION_3) == 1 &&
                ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1) == 1 &&
                X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0) != nullptr &&
                X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600) != nullptr &&
                X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                                           reinterpret_cast<const unsigned char*>("channel"), -1, -1,
                                           0) == 1 &&
                X509_set_issuer_name(certificate.get(), name) == 1 &&
                X509_set_pubkey(certificate.get(), key.get()) == 1 &&
                X509_sign(certificate.get(), rsaKey(1024).get(), EVP_sha256()) > 0,
            "certificate");
    unsigned char* der = nullptr;
    const int length = i2d_X509(certificate.get(), &der);
    require(length > 0, "certificate");
    UaByteString bytes(length, der);
    OPENSSL_free(der);
    return bytes;
}

UaByteString joined(const UaByteString& first, const UaByteString& second) {
    Bytes bytes(first.data(), first.data() + first.length());
    bytes.insert(bytes.end(), second.data(), second.data() + second.length());
    return UaByteString(static_cast<int>(bytes.size()), bytes.data());
}

Record::Record(const Key& key) {
    unsigned char* der = nullptr;
    const int length = i2d_PrivateKey(key.get(), &der);
    require(length > 0 && OpcUa_Key_Assign(&m_key, OpcUa_KeyType_RsaPrivate, der,
                                           static_cast<std::size_t>(length)) == OpcUa_Good,
            "key record");
    OPENSSL_free(der);
}

Record::Record(OpcUa_KeyType type, const Bytes& bytes) {
    require(OpcUa_Key_Assign(&m_key, type, bytes.data(), bytes.size()) == OpcUa_Good, "key record");
}

} // namespace channel
