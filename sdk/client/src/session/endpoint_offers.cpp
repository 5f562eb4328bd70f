#include "session/endpoint_offers.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "channel/channel_security.h"
#include "uapki/certificate.h"
#include "uastack/wire_number.h"

namespace UaClientSdk {
namespace {

constexpr const char* binaryTcpTransport =
    "http://opcfoundation.org/UA-Profile/Transport/uatcp-uasc-uabinary";

std::string securityText(const UaString& policyUri, int mode) {
    constexpr std::string_view prefix = UaPkiSecurityPolicy::uriPrefix;
    const std::string& uri = policyUri.text();
    return (uri.compare(0, prefix.size(), prefix) == 0 ? uri.substr(prefix.size()) : uri) + " with mode " +
           modeName(mode);
}

/// Null for one that this client does not know. A token policy without one of its own has its endpoint's.
const UaPkiSecurityPolicy* protectionOf(const UA_UserTokenPolicy& token,
                                        const UA_EndpointDescription& endpoint) {
    if (wireNumber(token.tokenType) == UA_USERTOKENTYPE_ANONYMOUS)
        return &UaPkiSecurityPolicy::none();
    return UaPkiSecurityPolicy::find(
        UaString(token.securityPolicyUri.length > 0 ? token.securityPolicyUri : endpoint.securityPolicyUri));
}

bool isBetter(const UA_EndpointDescription& endpoint, const UaPkiSecurityPolicy& protection,
              const EndpointChoice& than) {
    if (than.token == nullptr || protection.strength != than.protection->strength)
        return than.token == nullptr || protection.strength > than.protection->strength;
    return endpoint.securityLevel > than.endpoint->securityLevel;
}

void append(std::string& text, const std::string& part) {
    text += std::to_string(part.size()) + ':' + part;
}

std::string fingerprintOf(const UA_UserTokenPolicy& token) {
    std::string text = std::to_string(wireNumber(token.tokenType));
    append(text, UaString(token.policyId).text());
    append(text, UaString(token.securityPolicyUri).text());
    append(text, UaString(token.issuedTokenType).text());
    return text;
}

/// What two descriptions of one endpoint have in common, whoever asks.
std::string fingerprintOf(const UA_EndpointDescription& endpoint) {
    std::vector<std::string> tokens;
    for (std::size_t i = 0; i < endpoint.userIdentityTokensSize; ++i)
        tokens.push_back(fingerprintOf(endpoint.userIdentityTokens[i]));
    std::sort(tokens.begin(), tokens.end());
    std::string text = std::to_string(endpoint.securityLevel);
    append(text, std::to_string(wireNumber(endpoint.securityMode)));
    append(text, UaString(endpoint.securityPolicyUri).text());
    append(text, UaString(endpoint.transportProfileUri).text());
    for (const std::string& token : tokens)
        append(text, token);
    return text;
}

std::string withCertificate(std::string fingerprint, const UA_EndpointDescription& endpoint) {
    const UaByteString leaf = leafOf(UaByteString(endpoint.serverCertificate));
    append(fingerprint += " with certificate ", std::string(leaf.data(), leaf.data() + leaf.length()));
    return fingerprint;
}

} // namespace

bool WantedSecurity::isThatOf(const UA_EndpointDescription& endpoint) const {
    return wireNumber(endpoint.securityMode) == mode && UaString(endpoint.securityPolicyUri) == policyUri &&
           UaString(endpoint.transportProfileUri) == UaString(binaryTcpTransport);
}

std::string WantedSecurity::text() const {
    return securityText(policyUri, mode);
}

std::string securityText(const UA_EndpointDescription& endpoint) {
    return securityText(UaString(endpoint.securityPolicyUri), wireNumber(endpoint.securityMode));
}

bool goTogether(const UaPkiSecurityPolicy& policy, OpcUa_MessageSecurityMode mode) {
    if (policy.isNone())
        return mode == OpcUa_MessageSecurityMode_None;
    return mode == OpcUa_MessageSecurityMode_Sign || mode == OpcUa_MessageSecurityMode_SignAndEncrypt;
}

EndpointChoice chooseEndpoint(const EndpointOffers& offers, const WantedSecurity& wanted,
                              UA_UserTokenType userType) {
    EndpointChoice choice;
    for (const UA_EndpointDescription& endpoint : offers) {
        if (!wanted.isThatOf(endpoint))
            continue;
        choice.isOffered = true;
        for (std::size_t i = 0; i < endpoint.userIdentityTokensSize; ++i) {
            const UA_UserTokenPolicy& token = endpoint.userIdentityTokens[i];
            if (wireNumber(token.tokenType) != userType)
                continue;
            const UaPkiSecurityPolicy* protection = protectionOf(token, endpoint);
            if (protection == nullptr) {
                choice.hasUnknownProtection = true;
            } else if (isBetter(endpoint, *protection, choice)) {
                choice.endpoint = &endpoint;
                choice.token = &token;
                choice.protection = protection;
            }
        }
    }
    return choice;
}

bool areSameOffers(const EndpointOffers& ofSession, const EndpointOffers& ofQuery,
                   const WantedSecurity& wanted, const UA_EndpointDescription& chosen, Compared compared) {
    const auto counts = [&](const UA_EndpointDescription& endpoint) {
        return compared == Compared::All || wanted.isThatOf(endpoint);
    };
    // In a session a server need not repeat its certificate.
    std::set<std::string> known;
    for (const UA_EndpointDescription& endpoint : ofQuery) {
        if (counts(endpoint)) {
            known.insert(withCertificate(fingerprintOf(endpoint), endpoint));
            known.insert(fingerprintOf(endpoint));
        }
    }
    bool chosenIsThere = false;
    const std::string chosenFingerprint = fingerprintOf(chosen);
    for (const UA_EndpointDescription& endpoint : ofSession) {
        if (!counts(endpoint))
            continue;
        const std::string fingerprint = fingerprintOf(endpoint);
        const bool tellsCertificate = endpoint.serverCertificate.length > 0;
        if (known.count(tellsCertificate ? withCertificate(fingerprint, endpoint) : fingerprint) == 0)
            return false;
        chosenIsThere = chosenIsThere || fingerprint == chosenFingerprint;
    }
    return chosenIsThere;
}

UaByteString leafOf(const UaByteString& certificates) {
    const UaPkiCertificate leaf = UaPkiCertificate::fromDER(certificates);
    return leaf.isNull() ? certificates : leaf.toDER();
}

} // namespace UaClientSdk
