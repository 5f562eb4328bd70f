#include "support/scripted/identity.h"

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>

#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace scripted {
namespace {

template <class T, void (*Free)(T*)>
struct Freer {
    void operator()(T* object) const { Free(object); }
};
using Key = std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY, EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freer<X509, X509_free>>;

template <class T>
T* require(T* result) {
    if (result == nullptr)
        throw std::runtime_error("cannot make a certificate");
    return result;
}

Key makeKey(const IdentityPlan& plan) {
    switch (plan.kind) {
    case KeyKind::P256:
        return Key(require(EVP_EC_gen("P-256")));
    case KeyKind::Ed25519:
        return Key(require(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")));
    case KeyKind::X25519:
        return Key(require(EVP_PKEY_Q_keygen(nullptr, nullptr, "X25519")));
    default:
        return Key(require(EVP_RSA_gen(static_cast<unsigned>(plan.bits))));
    }
}

template <class T>
Bytes derOf(T* object, int (*encode)(const T*, unsigned char**)) {
    unsigned char* der = nullptr;
    const int length = encode(object, &der);
    if (length <= 0)
        throw std::runtime_error("cannot encode a certificate");
    const Bytes bytes(reinterpret_cast<const char*>(der), static_cast<std::size_t>(length));
    OPENSSL_free(der);
    return bytes;
}

void addExtension(X509* certificate, int kind, const std::string& value) {
    X509_EXTENSION* extension = require(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()));
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

std::string alternativeNames(const IdentityPlan& plan) {
    std::string names = "URI:" + plan.applicationUri;
    for (int i = 0; i < plan.hostNames; ++i) {
        std::string host = "host" + std::to_string(i) + ".example";
        host.insert(0, 60 - host.size(), 'a');
        names += ",DNS:" + host;
    }
    return names;
}

void fill(X509* certificate, const IdentityPlan& plan, EVP_PKEY* key, const std::string& issuer) {
    constexpr long year = 365L * 24 * 3600;
    X509_set_version(certificate, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate), year);
    X509_set_pubkey(certificate, key);
    const auto addName = [](X509_NAME* name, const std::string& text) {
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                                   reinterpret_cast<const unsigned char*>(text.c_str()), -1, -1, 0);
    };
    addName(X509_get_subject_name(certificate), plan.name);
    addName(X509_get_issuer_name(certificate), issuer);
    addExtension(certificate, NID_basic_constraints, plan.isAuthority ? "critical,CA:TRUE" : "CA:FALSE");
    addExtension(certificate, NID_key_usage,
                 plan.isAuthority ? "keyCertSign,cRLSign"
                                  : "digitalSignature,nonRepudiation,keyEncipherment,dataEncipherment,"
                                    "keyCertSign");
    addExtension(certificate, NID_ext_key_usage, "serverAuth");
    addExtension(certificate, NID_subject_alt_name, alternativeNames(plan));
}

Identity make(const IdentityPlan& plan, EVP_PKEY* issuerKey, const std::string& issuer) {
    const Key key = makeKey(plan);
    const Certificate certificate(require(X509_new()));
    fill(certificate.get(), plan, key.get(), issuer.empty() ? plan.name : issuer);
    EVP_PKEY* signer = issuerKey != nullptr ? issuerKey : key.get();
    const EVP_MD* digest = EVP_PKEY_is_a(signer, "ED25519") == 1 ? nullptr : EVP_sha256();
    if (X509_sign(certificate.get(), signer, digest) == 0)
        throw std::runtime_error("cannot sign a certificate");
    return {derOf<X509>(certificate.get(), i2d_X509), derOf<EVP_PKEY>(key.get(), i2d_PrivateKey), plan.name};
}

} // namespace

Identity makeIdentity(const IdentityPlan& plan) {
    if (plan.kind == KeyKind::X25519) {
        const Key signer = makeKey(IdentityPlan());
        return make(plan, signer.get(), {});
    }
    return make(plan, nullptr, {});
}

Identity makeIdentity(const IdentityPlan& plan, const Identity& issuer) {
    const auto* der = reinterpret_cast<const unsigned char*>(issuer.privateKey.data());
    const Key key(require(d2i_AutoPrivateKey(nullptr, &der, static_cast<long>(issuer.privateKey.size()))));
    return make(plan, key.get(), issuer.name);
}

const Identity& usualIdentity() {
    static const Identity identity = makeIdentity(IdentityPlan());
    return identity;
}

} // namespace scripted
