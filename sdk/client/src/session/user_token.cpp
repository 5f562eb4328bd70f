#include "session/user_token.h"

#include <cstring>
#include <vector>

namespace UaClientSdk {
namespace {

/// Bytes that are overwritten when they go.
class SecretBytes {
public:
    explicit SecretBytes(std::size_t count) : m_bytes(count) {}
    ~SecretBytes() { UaPkiWipe(m_bytes.data(), m_bytes.size()); }
    SecretBytes(const SecretBytes&) = delete;
    SecretBytes& operator=(const SecretBytes&) = delete;

    OpcUa_Byte* data() { return m_bytes.data(); }
    UaByteView view() const { return {m_bytes.data(), m_bytes.size()}; }

private:
    std::vector<OpcUa_Byte> m_bytes;
};

OpcUa_Byte* append(OpcUa_Byte* target, UaByteView bytes) {
    if (bytes.size > 0)
        std::memcpy(target, bytes.data, bytes.size);
    return target + bytes.size;
}

OpcUa_ByteString viewOf(std::vector<OpcUa_Byte>& bytes) {
    return {bytes.size(), bytes.data()};
}

UA_String viewOf(const char* text) {
    return UA_STRING(const_cast<char*>(text));
}

/// Length, password and nonce in a row, and nothing behind them (OPC UA Part 4, 7.36.2.2): there are servers
/// that count.
std::vector<OpcUa_Byte> encryptPassword(const UaPkiPeerKey& key, UaByteView password, UaByteView nonce) {
    const std::size_t length = password.size + nonce.size;
    SecretBytes plain(sizeof(OpcUa_UInt32) + length);
    OpcUa_Byte* position = plain.data();
    for (unsigned int shift = 0; shift < 32; shift += 8)
        *position++ = static_cast<OpcUa_Byte>(length >> shift);
    append(append(position, password), nonce);
    return key.encrypt(plain.view());
}

} // namespace

std::vector<OpcUa_Byte> signCertificateAndNonce(const UaPkiOwnKey& key, const UaByteString& certificate,
                                                UaByteView nonce) {
    std::vector<OpcUa_Byte> data(static_cast<std::size_t>(certificate.length()) + nonce.size);
    append(append(data.data(), certificate.view()), nonce);
    return key.sign({data.data(), data.size()});
}

UserToken::~UserToken() {
    UaPkiWipe(m_cipher.data(), m_cipher.size());
    UaPkiWipe(m_signatureBytes.data(), m_signatureBytes.size());
}

void UserToken::setContent(void* token, const UA_DataType& type) {
    m_content.encoding = UA_EXTENSIONOBJECT_DECODED_NODELETE;
    m_content.content.decoded.type = &type;
    m_content.content.decoded.data = token;
}

void UserToken::makeAnonymous(const UA_String& policyId) {
    m_policyId = UaString(policyId);
    m_anonymous.policyId = m_policyId.view();
    setContent(&m_anonymous, UA_TYPES[UA_TYPES_ANONYMOUSIDENTITYTOKEN]);
}

UaStatus UserToken::make(const SessionSecurityInfo::User& user, const UA_String& policyId,
                         const Protection& protection) {
    using Kind = SessionSecurityInfo::User::Kind;
    if (user.kind == Kind::Anonymous) {
        makeAnonymous(policyId);
        return OpcUa_Good;
    }
    m_policyId = UaString(policyId);
    return user.kind == Kind::Password ? makePassword(user, protection) : makeCertificate(user, protection);
}

UaStatus UserToken::makePassword(const SessionSecurityInfo::User& user, const Protection& protection) {
    m_password.policyId = m_policyId.view();
    m_password.userName = user.name.view();
    m_password.password = user.secret.bytes;
    if (!protection.policy->isNone()) {
        m_cipher = encryptPassword(protection.serverKey, user.secret.bytes, protection.serverNonce);
        if (m_cipher.empty()) {
            m_password.password = UA_BYTESTRING_NULL;
            return UA_STATUSCODE_BADSECURITYCHECKSFAILED;
        }
        m_password.password = viewOf(m_cipher);
        m_password.encryptionAlgorithm = viewOf(protection.policy->asymmetricEncryptionUri);
    }
    setContent(&m_password, UA_TYPES[UA_TYPES_USERNAMEIDENTITYTOKEN]);
    return OpcUa_Good;
}

UaStatus UserToken::makeCertificate(const SessionSecurityInfo::User& user, const Protection& protection) {
    m_certificate.policyId = m_policyId.view();
    m_certificate.certificateData = user.certificate.view();
    if (!protection.policy->isNone()) {
        UaPkiOwnKey key;
        const UaStatus status =
            UaPkiOwnKey::open(*protection.policy, {OpcUa_KeyType_RsaPrivate, user.secret.bytes}, key);
        if (status.isBad())
            return status;
        m_signatureBytes = signCertificateAndNonce(key, protection.serverCertificate, protection.serverNonce);
        if (m_signatureBytes.empty())
            return UA_STATUSCODE_BADSECURITYCHECKSFAILED;
        m_signature.algorithm = viewOf(protection.policy->asymmetricSignatureUri);
        m_signature.signature = viewOf(m_signatureBytes);
    }
    setContent(&m_certificate, UA_TYPES[UA_TYPES_X509IDENTITYTOKEN]);
    return OpcUa_Good;
}

void UserToken::fill(UA_ActivateSessionRequest& request) {
    request.userIdentityToken = m_content;
    request.userTokenSignature = m_signature;
}

} // namespace UaClientSdk
