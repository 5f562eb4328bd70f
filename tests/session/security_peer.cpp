#include "security_peer.h"

#include <cstring>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <open62541/types_generated_handling.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include "session/security_material.h"
#include "support/temporary_directory.h"
#include "uapki/certificate.h"
#include "uapki/provider.h"

namespace security_peer {
namespace {

void require(bool condition, const char* what) {
    if (!condition)
        throw std::runtime_error(std::string("cannot ") + what);
}

UaByteString concatenated(const UaByteString& first, const UaByteString& second) {
    const std::vector<OpcUa_Byte> all = joined(first, second.view());
    return UaByteString(static_cast<int>(all.size()), all.data());
}

UaPkiIdentity named(const std::string& name) {
    UaPkiIdentity subject;
    subject.commonName = name;
    return subject;
}

UaPkiCertificateInfo certificateInfo() {
    UaPkiCertificateInfo info;
    info.uri = serverUri;
    info.validTime = 3600L * 24;
    info.backdateTime = 3600;
    return info;
}

const UaPkiRsaKeyPair& authorityKey() {
    static const UaPkiRsaKeyPair pair(2048);
    return pair;
}

void readKey(const UaPkiRsaKeyPair& pair, OpcUa_Key& key) {
    const test_support::TemporaryDirectory directory;
    const UaString file((directory.path() / "key.pem").string());
    require(pair.toPEMFile(file, nullptr) == 0, "write a key");
    require(UaPkiProviderOpenSSL(UaString(), UaString())
                .loadPrivateKey(file, OpcUa_KeyEncoding_Pem, nullptr, &key)
                .isGood(),
            "read a key");
}

std::unique_ptr<Identity> makeIdentity(const std::string& name, int keyBits) {
    const UaPkiRsaKeyPair pair(keyBits);
    const UaPkiIdentity authority = named("authority");
    auto made = std::make_unique<Identity>();
    made->certificate = UaPkiCertificate(certificateInfo(), named(name), pair.publicKey(), named(name),
                                         pair.privateKey(), false, UaPkiCertificate::Sha256)
                            .toDER();
    made->chain =
        concatenated(made->certificate,
                     UaPkiCertificate(certificateInfo(), authority, authorityKey().publicKey(), authority,
                                      authorityKey().privateKey(), true, UaPkiCertificate::Sha256)
                         .toDER());
    readKey(pair, made->key);
    require(made->certificate.length() > 0, "make a certificate");
    return made;
}

UA_String copyOf(const std::string& text) {
    return UA_String_fromChars(text.c_str());
}

std::string uriOf(const std::string& policy) {
    const bool isUri = policy.empty() || policy.find(':') != std::string::npos;
    return isUri ? policy : policyUri(policy);
}

UA_ByteString copyOf(const UA_ByteString& bytes) {
    UA_ByteString copy = UA_BYTESTRING_NULL;
    UA_ByteString_copy(&bytes, &copy);
    return copy;
}

void assign(UA_ByteString& target, const UA_ByteString& bytes) {
    UA_ByteString_clear(&target);
    target = copyOf(bytes);
}

} // namespace

const Identity& identity(const char* name, int keyBits) {
    static std::map<std::string, std::unique_ptr<Identity>> made;
    std::unique_ptr<Identity>& entry = made[name + std::to_string(keyBits)];
    if (entry == nullptr)
        entry = makeIdentity(name, keyBits);
    return *entry;
}

UaByteString certificateWithKey(const std::string& kind) {
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
        kind == "EC" ? EVP_EC_gen("P-256") : EVP_PKEY_Q_keygen(nullptr, nullptr, kind.c_str()),
        &EVP_PKEY_free);
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> signer(EVP_RSA_gen(2048), &EVP_PKEY_free);
    const std::unique_ptr<X509, decltype(&X509_free)> x509(X509_new(), &X509_free);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(x509.get()), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(kind.c_str()), -1, -1, 0);
    X509_gmtime_adj(X509_getm_notBefore(x509.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(x509.get()), 3600);
    require(X509_set_pubkey(x509.get(), key.get()) == 1 &&
                X509_sign(x509.get(), signer.get(), EVP_sha256()) > 0,
            "make a certificate with another key");
    unsigned char* der = nullptr;
    const int length = i2d_X509(x509.get(), &der);
    UaByteString certificate(length, der);
    OPENSSL_free(der);
    return certificate;
}

UaByteString renewedCertificate() {
    const OpcUa_Key& record = identity("server").key;
    const unsigned char* position = record.bytes.data;
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
        d2i_AutoPrivateKey(nullptr, &position, static_cast<long>(record.bytes.length)), &EVP_PKEY_free);
    position = identity("server").certificate.data();
    const std::unique_ptr<X509, decltype(&X509_free)> x509(
        d2i_X509(nullptr, &position, identity("server").certificate.length()), &X509_free);
    ASN1_INTEGER_set(X509_get_serialNumber(x509.get()), 4711);
    require(X509_sign(x509.get(), key.get(), EVP_sha256()) > 0, "sign a certificate anew");
    unsigned char* der = nullptr;
    const int length = i2d_X509(x509.get(), &der);
    UaByteString certificate(length, der);
    OPENSSL_free(der);
    return certificate;
}

std::string policyUri(const std::string& name) {
    return "http://opcfoundation.org/UA/SecurityPolicy#" + name;
}

UaByteString bytesOf(const std::string& text) {
    return UaByteString(static_cast<int>(text.size()), reinterpret_cast<const OpcUa_Byte*>(text.data()));
}

void attach(const std::vector<Endpoint>& endpoints, UA_EndpointDescription*& target, std::size_t& count) {
    target = static_cast<UA_EndpointDescription*>(
        UA_Array_new(endpoints.size(), &UA_TYPES[UA_TYPES_ENDPOINTDESCRIPTION]));
    count = endpoints.size();
    for (std::size_t i = 0; i < count; ++i) {
        const Endpoint& from = endpoints[i];
        UA_EndpointDescription& to = target[i];
        to.endpointUrl = copyOf(from.url);
        to.server.applicationUri = copyOf(serverUri);
        to.serverCertificate = copyOf(from.certificate.view());
        std::memcpy(&to.securityMode, &from.mode, sizeof to.securityMode);
        to.securityPolicyUri = copyOf(uriOf(from.policy));
        to.transportProfileUri = copyOf(from.transport);
        to.securityLevel = from.level;
        to.userIdentityTokensSize = from.tokens.size();
        to.userIdentityTokens = static_cast<UA_UserTokenPolicy*>(
            UA_Array_new(from.tokens.size(), &UA_TYPES[UA_TYPES_USERTOKENPOLICY]));
        for (std::size_t t = 0; t < from.tokens.size(); ++t) {
            std::memcpy(&to.userIdentityTokens[t].tokenType, &from.tokens[t].type,
                        sizeof from.tokens[t].type);
            to.userIdentityTokens[t].policyId = copyOf(from.tokens[t].id);
            to.userIdentityTokens[t].issuedTokenType = copyOf(from.tokens[t].issuedType);
            to.userIdentityTokens[t].securityPolicyUri = copyOf(uriOf(from.tokens[t].policy));
        }
    }
}

void Info::useOwn(const Identity& own) {
    m_material->certificate = own.certificate;
    m_material->certificateFile = "own.der";
    OpcUa_Key_Clear(&m_material->privateKey);
    OpcUa_Key_Assign(&m_material->privateKey, OpcUa_KeyType_RsaPrivate, own.key.bytes.data,
                     own.key.bytes.length);
}

void Info::offer(const std::vector<Endpoint>& endpoints) {
    UA_EndpointDescription* elements = nullptr;
    std::size_t count = 0;
    attach(endpoints, elements, count);
    UaEndpointDescriptions offers;
    offers.attach(static_cast<OpcUa_UInt32>(count), elements);
    setOffers(offers);
}

void Answer::setNonce(std::size_t length) {
    std::vector<OpcUa_Byte> bytes(length);
    require(UaPkiRandomBytes(bytes.data(), bytes.size()), "get random numbers");
    assign(m_response.serverNonce, {bytes.size(), bytes.data()});
}

void Answer::setCertificate(const UaByteString& certificate) {
    assign(m_response.serverCertificate, certificate.view());
}

void Answer::setEndpoints(const std::vector<Endpoint>& endpoints) {
    UA_Array_delete(m_response.serverEndpoints, m_response.serverEndpointsSize,
                    &UA_TYPES[UA_TYPES_ENDPOINTDESCRIPTION]);
    attach(endpoints, m_response.serverEndpoints, m_response.serverEndpointsSize);
}

void Answer::setSignature(const std::vector<OpcUa_Byte>& bytes) {
    assign(m_response.serverSignature.signature, {bytes.size(), const_cast<OpcUa_Byte*>(bytes.data())});
}

void Answer::sign(const UaPkiSecurityPolicy& policy, const OpcUa_Key& key,
                  const UaByteString& clientCertificate, const UA_ByteString& clientNonce) {
    UaPkiOwnKey signer;
    require(UaPkiOwnKey::open(policy, key, signer).isGood(), "open the server's key");
    const std::vector<OpcUa_Byte> data = joined(clientCertificate, clientNonce);
    setSignature(signer.sign({data.data(), data.size()}));
}

std::vector<OpcUa_Byte> Answer::nonce() const {
    const UA_ByteString& bytes = m_response.serverNonce;
    return {bytes.data, bytes.data + bytes.length};
}

std::vector<OpcUa_Byte> joined(const UaByteString& certificate, const UA_ByteString& nonce) {
    std::vector<OpcUa_Byte> data(certificate.data(), certificate.data() + certificate.length());
    data.insert(data.end(), nonce.data, nonce.data + nonce.length);
    return data;
}

bool isSignedBy(const UaByteString& certificate, const UaPkiSecurityPolicy& policy,
                const std::vector<OpcUa_Byte>& data, const UA_SignatureData& signature) {
    UaPkiPeerKey key;
    return UaPkiPeerKey::open(policy, certificate, UaPkiPeerKey::Limits::AlreadyDecidedOn, key).isGood() &&
           key.verify({data.data(), data.size()}, signature.signature) &&
           UaString(signature.algorithm) == UaString(policy.asymmetricSignatureUri);
}

} // namespace security_peer
