#include "session/session_security.h"

#include "channel/refusal.h"
#include "uapki/certificate.h"

namespace UaClientSdk {
namespace {

UA_UserTokenType tokenTypeOf(SessionSecurityInfo::User::Kind kind) {
    switch (kind) {
    case SessionSecurityInfo::User::Kind::Password:
        return UA_USERTOKENTYPE_USERNAME;
    case SessionSecurityInfo::User::Kind::Certificate:
        return UA_USERTOKENTYPE_CERTIFICATE;
    default:
        return UA_USERTOKENTYPE_ANONYMOUS;
    }
}

const char* tokenTypeName(UA_UserTokenType type) {
    switch (type) {
    case UA_USERTOKENTYPE_USERNAME:
        return "user name";
    case UA_USERTOKENTYPE_CERTIFICATE:
        return "user certificate";
    default:
        return "anonymous";
    }
}

} // namespace

bool SessionSecurity::isNeeded() const {
    return m_info.messageSecurityMode != OpcUa_MessageSecurityMode_None ||
           m_info.securityPolicyUri != UaString(UaPkiSecurityPolicy::none().uri) ||
           m_info.user().kind != User::Kind::Anonymous || m_info.serverCertificate.length() > 0;
}

bool SessionSecurity::isTokenProtected() const {
    return !m_choice.protection->isNone();
}

bool SessionSecurity::isPasswordReadable() const {
    return m_info.user().kind == User::Kind::Password && !isTokenProtected() &&
           m_info.messageSecurityMode != OpcUa_MessageSecurityMode_SignAndEncrypt;
}

UaStatus SessionSecurity::prepare() {
    if (!isNeeded())
        return OpcUa_Good;
    UaStatus status = checkRequest();
    if (status.isGood())
        status = checkServerCertificate();
    if (status.isGood())
        status = choose();
    if (status.isGood())
        status = checkUser();
    return status.isGood() ? openKeys() : status;
}

/// Whether there can be a channel of that kind at all.
UaStatus SessionSecurity::checkRequest() {
    const UaPkiSecurityPolicy* policy = UaPkiSecurityPolicy::find(m_info.securityPolicyUri);
    const bool makesSense = policy != nullptr && goTogether(*policy, m_info.messageSecurityMode);
    if (makesSense) {
        m_policy = policy;
        return OpcUa_Good;
    }
    if (!chooseEndpoint(offers(), wanted(), UA_USERTOKENTYPE_ANONYMOUS).isOffered)
        return refuseNotOffered();
    return refuse(UA_STATUSCODE_BADSECURITYPOLICYREJECTED,
                  "the server " + m_url.text() + " offers " + wanted().text() +
                      (policy == nullptr ? ", a policy that this client does not know"
                                         : ", and this policy and this mode do not go together"));
}

UaStatus SessionSecurity::checkServerCertificate() {
    if (!m_info.doServerCertificateVerify || m_info.isVerified())
        return OpcUa_Good;
    const UaStatus status = m_info.verifyServerCertificate(nullptr);
    if (!status.isBad())
        return OpcUa_Good;
    if (m_info.serverCertificate.length() == 0) {
        return refuse(status, "the server " + m_url.text() +
                                  " has no certificate, and one is needed for what was asked for: " +
                                  wanted().text() + ", " + userText());
    }
    return refuse(status, serverText() + ", does not pass verification: " + m_info.objections().text());
}

UaStatus SessionSecurity::choose() {
    const UA_UserTokenType type = tokenTypeOf(m_info.user().kind);
    m_choice = chooseEndpoint(offers(), wanted(), type);
    if (!m_choice.isOffered)
        return refuseNotOffered();
    if (m_choice.endpoint == nullptr) {
        return refuse(UA_STATUSCODE_BADIDENTITYTOKENREJECTED,
                      "the server's endpoint with " + wanted().text() + " accepts no " + tokenTypeName(type) +
                          " identity that this client can give");
    }
    const UA_ByteString& shown = m_choice.endpoint->serverCertificate;
    if (leafOf(UaByteString(shown)) != leafOf(m_info.serverCertificate))
        return refuseOtherCertificate("the endpoint with " + wanted().text() + " has", shown);
    return OpcUa_Good;
}

UaStatus SessionSecurity::checkUser() const {
    const User& user = m_info.user();
    if (user.kind == User::Kind::Password && isTokenProtected() && m_info.serverCertificate.length() == 0) {
        return refuse(UA_STATUSCODE_BADCERTIFICATEINVALID,
                      "the server has no certificate to encrypt the password to");
    }
    const bool isSignedFor = user.kind == User::Kind::Certificate && isTokenProtected();
    if (isSignedFor && m_info.serverCertificate.length() > 0 &&
        UaPkiCertificate::fromDER(m_info.serverCertificate).isNull()) {
        return refuse(UA_STATUSCODE_BADCERTIFICATEINVALID,
                      "the user's key would sign what the server shows, and that is no certificate");
    }
    // Whoever takes the known protection away from a list leaves the one that nobody knows.
    if (isPasswordReadable() && m_choice.hasUnknownProtection) {
        return refuse(UA_STATUSCODE_BADIDENTITYTOKENREJECTED,
                      "the password would go out in clear text, although the endpoint with " +
                          wanted().text() +
                          " offers to encrypt it, by a policy that this client does not know");
    }
    // The server could only answer that the signature is wrong.
    const OpcUa_Key key{OpcUa_KeyType_RsaPrivate, user.secret.bytes};
    if (user.kind == User::Kind::Certificate &&
        !UaPkiCertificate::fromDER(user.certificate).matchesPrivateKey(key)) {
        return refuse(UA_STATUSCODE_BADIDENTITYTOKENINVALID,
                      "the user's private key does not belong to the " + userText());
    }
    return OpcUa_Good;
}

UaStatus SessionSecurity::openKeys() {
    UaStatus status;
    if (isChannelSecured()) {
        status = openServerKey(*m_policy, wanted().text(), m_serverKey);
        if (status.isGood() && UaPkiOwnKey::open(*m_policy, m_info.material().privateKey, m_ownKey).isBad()) {
            status = refuse(UA_STATUSCODE_BADCERTIFICATEINVALID,
                            "this client has no certificate and key of its own for " + wanted().text());
        }
    }
    if (status.isGood() && m_info.user().kind == User::Kind::Password && isTokenProtected()) {
        status = openServerKey(*m_choice.protection,
                               std::string("the user token policy ") + m_choice.protection->name,
                               m_serverTokenKey);
    }
    return status;
}

/// A key whose length the channel's policy does not allow has been objected to, and decided on, with the
/// certificate. Nobody was asked about a token policy that demands more: only a certificate that was accepted
/// as it is serves that one too.
UaStatus SessionSecurity::openServerKey(const UaPkiSecurityPolicy& policy, const std::string& use,
                                        UaPkiPeerKey& key) const {
    const bool enforced = m_info.doServerCertificateVerify;
    const UaStatus status = UaPkiPeerKey::open(
        policy, leafOf(m_info.serverCertificate),
        enforced ? UaPkiPeerKey::Limits::Enforced : UaPkiPeerKey::Limits::AlreadyDecidedOn, key);
    if (!status.isBad())
        return OpcUa_Good;
    const bool isLength = status.statusCode() == UA_STATUSCODE_BADCERTIFICATEPOLICYCHECKFAILED;
    return refuse(status, serverText() + (isLength ? ", has a key of a length that " + use + " does not allow"
                                                   : ", has no key that " + use + " can use"));
}

ChannelSecurity SessionSecurity::channelSecurity() const {
    ChannelSecurity security;
    if (isChannelSecured()) {
        security.policy = m_policy;
        security.mode = m_info.messageSecurityMode;
        security.ownCertificate = m_info.material().certificate;
        security.ownKey = &m_info.material().privateKey;
        security.serverCertificate = leafOf(m_info.serverCertificate);
    }
    return security;
}

UaStatus SessionSecurity::fill(UA_CreateSessionRequest& request) {
    if (!UaPkiRandomBytes(m_nonce.data(), m_nonce.size())) {
        m_refusedHere = true;
        return refuse(UA_STATUSCODE_BADINTERNALERROR, "the system yields no random numbers");
    }
    request.clientNonce = {m_nonce.size(), m_nonce.data()};
    request.endpointUrl = m_url.view();
    if (isChannelSecured())
        request.clientCertificate = m_info.material().certificate.view();
    return OpcUa_Good;
}

} // namespace UaClientSdk
