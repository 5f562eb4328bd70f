#pragma once

#include <vector>

#include "session/endpoint_offers.h"
#include "session/security_material.h"
#include "uabase/byte_view.h"
#include "uapki/asymmetric_keys.h"

namespace UaClientSdk {

/// Signs a certificate and the nonce behind it, as the services of a session do (OPC UA Part 4, 5.6.2 and
/// 5.6.3). Empty when it fails.
std::vector<OpcUa_Byte> signCertificateAndNonce(const UaPkiOwnKey& key, const UaByteString& certificate,
                                                UaByteView nonce);

/// Tells a server who the user is, and proves it (OPC UA Part 4, 7.36). Requests that were filled point into
/// it. What is encrypted or signed in it is wiped when it goes.
class UserToken {
public:
    UserToken() = default;
    ~UserToken();
    UserToken(const UserToken&) = delete;
    UserToken& operator=(const UserToken&) = delete;

    /// What a token is protected with.
    struct Protection {
        const UaPkiSecurityPolicy* policy = &UaPkiSecurityPolicy::none();
        UaPkiPeerKey serverKey;         ///< to which a password is encrypted
        UaByteString serverCertificate; ///< without issuers behind it
        UaByteView serverNonce;
    };

    void makeAnonymous(const UA_String& policyId);
    /// `user` outlives the requests. BadSecurityChecksFailed when the cryptography fails.
    UaStatus make(const SessionSecurityInfo::User& user, const UA_String& policyId,
                  const Protection& protection);
    /// Leaves the request without a token when none was made.
    void fill(UA_ActivateSessionRequest& request);

private:
    UaStatus makePassword(const SessionSecurityInfo::User& user, const Protection& protection);
    UaStatus makeCertificate(const SessionSecurityInfo::User& user, const Protection& protection);
    void setContent(void* token, const UA_DataType& type);

    UaString m_policyId;
    std::vector<OpcUa_Byte> m_cipher;
    std::vector<OpcUa_Byte> m_signatureBytes;
    UA_AnonymousIdentityToken m_anonymous{};
    UA_UserNameIdentityToken m_password{};
    UA_X509IdentityToken m_certificate{};
    UA_ExtensionObject m_content{};
    UA_SignatureData m_signature{};
};

} // namespace UaClientSdk
