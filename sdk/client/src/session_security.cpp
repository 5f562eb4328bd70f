#include "session_security.h"

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <open62541/plugin/pki_default.h>
#include <open62541/plugin/securitypolicy_default.h>

#include "security_material.h"
#include "uabase/trace.h"
#include "uapki/certificate.h"

namespace UaClientSdk {
namespace {

constexpr const char* policyPrefix = "http://opcfoundation.org/UA/SecurityPolicy#";
constexpr const char* policyNone = "http://opcfoundation.org/UA/SecurityPolicy#None";

using MakePolicy = UA_StatusCode (*)(UA_SecurityPolicy*, UA_ByteString, UA_ByteString, const UA_Logger*);

struct KnownPolicy {
    const char* name;
    MakePolicy make;
};

constexpr KnownPolicy knownPolicies[] = {
    {"Basic128Rsa15", &UA_SecurityPolicy_Basic128Rsa15},
    {"Basic256", &UA_SecurityPolicy_Basic256},
    {"Basic256Sha256", &UA_SecurityPolicy_Basic256Sha256},
    {"Aes128_Sha256_RsaOaep", &UA_SecurityPolicy_Aes128Sha256RsaOaep},
    {"Aes256_Sha256_RsaPss", &UA_SecurityPolicy_Aes256Sha256RsaPss},
};

const KnownPolicy* findPolicy(const UaString& uri) {
    for (const KnownPolicy& policy : knownPolicies) {
        if (uri == UaString(std::string(policyPrefix) + policy.name)) {
            return &policy;
        }
    }
    return nullptr;
}

/// An endpoint may carry a chain: the server's own certificate is its first.
UaByteString leafOf(const UaByteString& certificates) {
    return UaPkiCertificate::fromDER(certificates).toDER();
}

UaStatus refuse(UaStatus status, const std::string& why) {
    UaTrace::write(UaTrace::Errors, "security", "refused by this client: %s", why.c_str());
    return status;
}

const char* modeName(UA_MessageSecurityMode mode) {
    switch (mode) {
    case UA_MESSAGESECURITYMODE_NONE:
        return "None";
    case UA_MESSAGESECURITYMODE_SIGN:
        return "Sign";
    case UA_MESSAGESECURITYMODE_SIGNANDENCRYPT:
        return "SignAndEncrypt";
    default:
        return "invalid";
    }
}

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

bool addPolicy(UA_SecurityPolicy*& policies, size_t& count, const UaString& uri,
               const UA_ByteString& certificate, const UA_ByteString& key, const UA_Logger* logger) {
    auto* grown =
        static_cast<UA_SecurityPolicy*>(UA_realloc(policies, (count + 1) * sizeof(UA_SecurityPolicy)));
    if (grown == nullptr) {
        return false;
    }
    policies = grown;
    std::memset(&policies[count], 0, sizeof(UA_SecurityPolicy));
    const KnownPolicy* known = findPolicy(uri);
    const UA_StatusCode status = known != nullptr
                                     ? known->make(&policies[count], certificate, key, logger)
                                     : UA_SecurityPolicy_None(&policies[count], certificate, logger);
    if (status != UA_STATUSCODE_GOOD) {
        UaTrace::write(UaTrace::Errors, "security", "security policy %s cannot be set up: %s", uri.toUtf8(),
                       UA_StatusCode_name(status));
        return false;
    }
    ++count;
    return true;
}

/// What the engine's question about a certificate is answered from.
struct Decision {
    UaByteString certificate;
    std::shared_ptr<bool> refused;
};

/// The engine asks here for every certificate that a server shows on a channel.
UA_StatusCode isDecidedCertificate(const UA_CertificateVerification* verification,
                                   const UA_ByteString* shown) {
    const auto* decision = static_cast<const Decision*>(verification->context);
    if (leafOf(UaByteString(*shown)) == decision->certificate) {
        return UA_STATUSCODE_GOOD;
    }
    *decision->refused = true;
    return refuse(UA_STATUSCODE_BADCERTIFICATEUNTRUSTED,
                  "the server shows another certificate than the one that was decided on: " +
                      UaPkiCertificate::fromDER(UaByteString(*shown)).description().text())
        .statusCode();
}

void bindToCertificate(UA_CertificateVerification& verification, const UaByteString& certificate,
                       const std::shared_ptr<bool>& refused) {
    if (verification.clear != nullptr) {
        verification.clear(&verification);
    }
    verification.context = new Decision{leafOf(certificate), refused};
    verification.verifyCertificate = &isDecidedCertificate;
    // Announced and certified application URI were compared, exactly, when the certificate was verified.
    verification.verifyApplicationURI = [](const UA_CertificateVerification*, const UA_ByteString*,
                                           const UA_String*) -> UA_StatusCode { return UA_STATUSCODE_GOOD; };
    verification.getExpirationDate = nullptr;
    verification.getSubjectName = nullptr;
    verification.clear = [](UA_CertificateVerification* self) {
        delete static_cast<Decision*>(self->context);
        self->context = nullptr;
    };
}

std::string endpointText(const UA_String& policyUri, UA_MessageSecurityMode mode) {
    const std::string uri = UaString(policyUri).text();
    const std::string prefix = policyPrefix;
    return (uri.compare(0, prefix.size(), prefix) == 0 ? uri.substr(prefix.size()) : uri) + " with mode " +
           modeName(mode);
}

const char* stepText(EngineClient::Step step) {
    switch (step) {
    case EngineClient::Step::OpenChannel:
        return "opening the secure channel";
    case EngineClient::Step::CreateSession:
        return "creating the session";
    default:
        return "activating the session for its user";
    }
}

} // namespace

bool SessionSecurity::isNeeded() const {
    return m_info.messageSecurityMode != UA_MESSAGESECURITYMODE_NONE ||
           m_info.securityPolicyUri != UaString(policyNone) ||
           m_info.user().kind != SessionSecurityInfo::User::Kind::Anonymous ||
           m_info.serverCertificate.length() > 0;
}

UaStatus SessionSecurity::prepare() {
    if (!isNeeded()) {
        return OpcUa_Good;
    }
    if (m_info.doServerCertificateVerify && !m_info.isVerified()) {
        const UaStatus status = m_info.verifyServerCertificate(nullptr);
        if (status.isBad()) {
            return refuse(status,
                          "the server's " +
                              UaPkiCertificate::fromDER(m_info.serverCertificate).description().text() +
                              ", does not pass verification: " + m_info.objections().text());
        }
    }
    const UaEndpointDescriptions& offers = m_info.material().offers;
    const UA_EndpointDescription* offered = nullptr;
    for (const UA_EndpointDescription& endpoint : offers) {
        if (!matches(endpoint)) {
            continue;
        }
        offered = &endpoint;
        const UA_UserTokenPolicy* token = chooseTokenPolicy(endpoint);
        if (token != nullptr &&
            (m_endpoint == nullptr || endpoint.securityLevel > m_endpoint->securityLevel)) {
            m_endpoint = &endpoint;
            m_tokenPolicy = token;
        }
    }
    if (offered == nullptr) {
        return refuse(UA_STATUSCODE_BADSECURITYPOLICYREJECTED,
                      "the server " + m_url.text() + " offers no endpoint with " + wantedSecurity() +
                          "; it offers " + offeredSecurity());
    }
    if (m_endpoint == nullptr) {
        return refuse(UA_STATUSCODE_BADIDENTITYTOKENREJECTED,
                      "the server's endpoint with " + wantedSecurity() + " accepts no " +
                          tokenTypeName(tokenTypeOf(m_info.user().kind)) +
                          " identity that this client can give");
    }
    if (!showsDecidedCertificate(*m_endpoint)) {
        return refuse(
            UA_STATUSCODE_BADCERTIFICATEUNTRUSTED,
            "the endpoint with " + wantedSecurity() +
                " has another certificate than the one that was decided on: " +
                UaPkiCertificate::fromDER(UaByteString(m_endpoint->serverCertificate)).description().text());
    }
    return checkUser();
}

std::string SessionSecurity::wantedSecurity() const {
    const UA_String policy = m_info.securityPolicyUri.view();
    return endpointText(policy, m_info.messageSecurityMode);
}

std::string SessionSecurity::offeredSecurity() const {
    const UaEndpointDescriptions& offers = m_info.material().offers;
    std::string text;
    for (const UA_EndpointDescription& endpoint : offers) {
        text += (text.empty() ? "" : ", ") + endpointText(endpoint.securityPolicyUri, endpoint.securityMode);
    }
    return text.empty() ? "nothing" : text;
}

bool SessionSecurity::matches(const UA_EndpointDescription& endpoint) const {
    return endpoint.securityMode == m_info.messageSecurityMode &&
           UaString(endpoint.securityPolicyUri) == m_info.securityPolicyUri &&
           UaString(endpoint.transportProfileUri) ==
               UaString("http://opcfoundation.org/UA-Profile/Transport/uatcp-uasc-uabinary");
}

bool SessionSecurity::showsDecidedCertificate(const UA_EndpointDescription& endpoint) const {
    return leafOf(UaByteString(endpoint.serverCertificate)) == leafOf(m_info.serverCertificate);
}

UaString SessionSecurity::effectivePolicy(const UA_UserTokenPolicy& policy) const {
    return policy.securityPolicyUri.length > 0 ? UaString(policy.securityPolicyUri)
                                               : m_info.securityPolicyUri;
}

/// The server's first fitting one, but for a password one that encrypts it before one that does not.
const UA_UserTokenPolicy* SessionSecurity::chooseTokenPolicy(const UA_EndpointDescription& endpoint) const {
    const UA_UserTokenType type = tokenTypeOf(m_info.user().kind);
    const UA_UserTokenPolicy* plain = nullptr;
    for (size_t i = 0; i < endpoint.userIdentityTokensSize; ++i) {
        const UA_UserTokenPolicy& policy = endpoint.userIdentityTokens[i];
        if (policy.tokenType != type) {
            continue;
        }
        if (type == UA_USERTOKENTYPE_ANONYMOUS || findPolicy(effectivePolicy(policy)) != nullptr) {
            return &policy;
        }
        if (effectivePolicy(policy) == UaString(policyNone) && plain == nullptr) {
            plain = &policy;
        }
    }
    return plain;
}

UaStatus SessionSecurity::checkUser() const {
    const SessionSecurityInfo::User& user = m_info.user();
    if (user.kind == SessionSecurityInfo::User::Kind::Password) {
        return checkPasswordProtection();
    }
    // The server could only answer that the signature is wrong.
    const OpcUa_Key key{OpcUa_KeyType_RsaPrivate, user.secret.bytes};
    if (user.kind == SessionSecurityInfo::User::Kind::Certificate &&
        !UaPkiCertificate::fromDER(user.certificate).matchesPrivateKey(key)) {
        return refuse(UA_STATUSCODE_BADIDENTITYTOKENINVALID,
                      "the user's private key does not belong to the " + userText());
    }
    return OpcUa_Good;
}

UaStatus SessionSecurity::checkPasswordProtection() const {
    const bool encrypted = effectivePolicy(*m_tokenPolicy) != UaString(policyNone);
    if (encrypted && m_info.serverCertificate.length() == 0) {
        return refuse(UA_STATUSCODE_BADCERTIFICATEINVALID,
                      "the server has no certificate to encrypt the password to");
    }
    if (!encrypted && m_info.messageSecurityMode != UA_MESSAGESECURITYMODE_SIGNANDENCRYPT) {
        UaTrace::write(UaTrace::Warnings, "security",
                       "the password goes out in clear text: the endpoint offers nothing else");
    }
    return OpcUa_Good;
}

UaStatus SessionSecurity::configure(UA_ClientConfig& config) const {
    if (!isNeeded()) {
        config.securityMode = UA_MESSAGESECURITYMODE_NONE;
        config.securityPolicyUri = UA_STRING_ALLOC(policyNone);
        return OpcUa_Good;
    }
    UaStatus status = setEndpoint(config);
    if (status.isGood()) {
        status = setPolicies(config);
    }
    if (status.isGood()) {
        status = setIdentity(config);
    }
    if (status.isGood()) {
        bindToCertificate(config.certificateVerification, m_info.serverCertificate, m_refusedHere);
    }
    return status;
}

/// The chosen endpoint with one token policy and the URL that the caller gave, so that the engine has nothing
/// left to choose. The application URI that no server has keeps it at this URL.
UaStatus SessionSecurity::setEndpoint(UA_ClientConfig& config) const {
    UA_EndpointDescription endpoint = *m_endpoint;
    const UaByteString leaf = leafOf(m_info.serverCertificate);
    endpoint.endpointUrl = m_url.view();
    endpoint.serverCertificate = leaf.view();
    endpoint.userIdentityTokens = const_cast<UA_UserTokenPolicy*>(m_tokenPolicy);
    endpoint.userIdentityTokensSize = 1;
    UA_EndpointDescription_clear(&config.endpoint);
    UA_String_clear(&config.applicationUri);
    config.applicationUri = UA_STRING_ALLOC("urn:no-server:stay-at-this-url");
    return UA_EndpointDescription_copy(&endpoint, &config.endpoint);
}

UaStatus SessionSecurity::setPolicies(UA_ClientConfig& config) const {
    const UA_ByteString certificate = m_info.material().certificate.view();
    const UA_ByteString key = m_info.material().privateKey.bytes;
    const auto add = [&](const UaString& uri) {
        return addPolicy(config.securityPolicies, config.securityPoliciesSize, uri, certificate, key,
                         config.logging);
    };
    const bool secured = m_info.securityPolicyUri != UaString(policyNone);
    return add(UaString(policyNone)) && (!secured || add(m_info.securityPolicyUri))
               ? OpcUa_Good
               : UA_STATUSCODE_BADSECURITYPOLICYREJECTED;
}

UaStatus SessionSecurity::setIdentity(UA_ClientConfig& config) const {
    const SessionSecurityInfo::User& user = m_info.user();
    const UaString policy = effectivePolicy(*m_tokenPolicy);
    const auto addAuthPolicy = [&](const UaByteString& certificate, const UA_ByteString& key) {
        return policy == UaString(policyNone) ||
               addPolicy(config.authSecurityPolicies, config.authSecurityPoliciesSize, policy,
                         certificate.view(), key, config.logging);
    };
    const bool byCertificate = user.kind == SessionSecurityInfo::User::Kind::Certificate;
    if (user.kind == SessionSecurityInfo::User::Kind::Password) {
        UA_UserNameIdentityToken* token = UA_UserNameIdentityToken_new();
        const UA_String name = user.name.view();
        UA_String_copy(&name, &token->userName);
        UA_ByteString_copy(&user.secret.bytes, &token->password);
        UA_ExtensionObject_setValue(&config.userIdentityToken, token,
                                    &UA_TYPES[UA_TYPES_USERNAMEIDENTITYTOKEN]);
    } else if (byCertificate) {
        UA_X509IdentityToken* token = UA_X509IdentityToken_new();
        const UA_ByteString certificate = user.certificate.view();
        UA_ByteString_copy(&certificate, &token->certificateData);
        UA_ExtensionObject_setValue(&config.userIdentityToken, token, &UA_TYPES[UA_TYPES_X509IDENTITYTOKEN]);
    } else {
        return OpcUa_Good;
    }
    // A password is encrypted to the server, with our certificate on this side; a user certificate signs for
    // itself.
    const bool added = byCertificate
                           ? addAuthPolicy(user.certificate, user.secret.bytes)
                           : addAuthPolicy(m_info.material().certificate, m_info.material().privateKey.bytes);
    return added ? OpcUa_Good : UA_STATUSCODE_BADIDENTITYTOKENREJECTED;
}

void SessionSecurity::explainFailure(const EngineClient::Failure& failure, UaStatus status) const {
    const EngineClient::Step step = failure.step;
    // What could not be reached, and what was refused here, is told where it happened.
    if (step == EngineClient::Step::Reach || *m_refusedHere) {
        if (status.statusCode() == UA_STATUSCODE_BADCERTIFICATEUSENOTALLOWED) {
            refuse(status, "the server's " +
                               UaPkiCertificate::fromDER(m_info.serverCertificate).description().text() +
                               ", has no key that " + wantedSecurity() + " can use");
        }
        return;
    }
    if (status.statusCode() == UA_STATUSCODE_BADTIMEOUT) {
        UaTrace::write(UaTrace::Errors, "security", "no answer in time from the server %s while %s",
                       m_url.toUtf8(), stepText(step));
        return;
    }
    const bool byServer = failure.byPeer || status.statusCode() == UA_STATUSCODE_BADCONNECTIONCLOSED;
    UaTrace::write(UaTrace::Errors, "security", "refused by %s %s while %s: %s%s",
                   byServer ? "the server" : "this client: the server", m_url.toUtf8(), stepText(step),
                   status.name(), isNeeded() ? hintFor(step).c_str() : "");
}

/// Servers keep their reasons to themselves: what they were given is what can be looked at.
std::string SessionSecurity::hintFor(EngineClient::Step step) const {
    if (step == EngineClient::Step::ActivateSession) {
        return "; the user is " + userText();
    }
    std::string text = "; asked for " + wantedSecurity();
    if (m_info.messageSecurityMode != UA_MESSAGESECURITYMODE_NONE) {
        text += "; does the server trust this client's own " +
                UaPkiCertificate::fromDER(m_info.material().certificate).description().text() + ", from " +
                m_info.material().certificateFile.text() + ", and has it still its own " +
                UaPkiCertificate::fromDER(m_info.serverCertificate).description().text() + "?";
    }
    return text;
}

std::string SessionSecurity::userText() const {
    const SessionSecurityInfo::User& user = m_info.user();
    switch (user.kind) {
    case SessionSecurityInfo::User::Kind::Password:
        return "user name \"" + user.name.text() + "\"";
    case SessionSecurityInfo::User::Kind::Certificate:
        return "user " + UaPkiCertificate::fromDER(user.certificate).description().text();
    default:
        return "anonymous";
    }
}

} // namespace UaClientSdk
