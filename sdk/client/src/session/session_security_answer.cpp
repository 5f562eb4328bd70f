// What the server answered, and what it gets for it.
#include <cstddef>
#include <string>
#include <vector>

#include "channel/refusal.h"
#include "session/session_security.h"
#include "uabase/trace.h"
#include "uapki/certificate.h"

namespace UaClientSdk {
namespace {

/// OPC UA Part 4, 5.6.2: the least that a nonce of a session has.
constexpr std::size_t shortestNonce = 32;
/// Nobody needs more, and each of its bytes is signed and encrypted.
constexpr std::size_t longestNonce = 1024;
/// Where no certificate stands before it, all that the user's key signs is the server's choice: there is no
/// room for another server's certificate and nonce.
constexpr std::size_t longestNonceAlone = 128;

} // namespace

UaStatus SessionSecurity::check(const UA_CreateSessionResponse& response) {
    const UaStatus status = isNeeded() ? checkAnswer(response) : UaStatus();
    m_refusedHere = status.isBad();
    return status;
}

UaStatus SessionSecurity::checkAnswer(const UA_CreateSessionResponse& response) const {
    UaStatus status = checkNonce(response.serverNonce);
    // A server without security, and without need for it, may show anything (OPC UA Part 4, 5.6.2).
    if (status.isGood() &&
        (isChannelSecured() || (isTokenProtected() && response.serverCertificate.length > 0))) {
        status = checkShownCertificate(response.serverCertificate);
    }
    if (status.isGood() && isChannelSecured())
        status = checkSignature(response.serverSignature.signature);
    return status.isGood() ? checkEndpoints({response.serverEndpoints, response.serverEndpointsSize})
                           : status;
}

/// Over a channel without security old servers send no nonce: then a password is encrypted without one. But
/// a user's signature that is bound to no nonce could be used again by whoever reads it.
UaStatus SessionSecurity::checkNonce(const UA_ByteString& nonce) const {
    const bool isSigned =
        isChannelSecured() || (isTokenProtected() && m_info.user().kind == User::Kind::Certificate);
    const std::size_t longest = m_info.serverCertificate.length() > 0 ? longestNonce : longestNonceAlone;
    if ((isSigned && nonce.length < shortestNonce) || nonce.length > longest) {
        return refuse(UA_STATUSCODE_BADNONCEINVALID, "the server's nonce for the session has " +
                                                         std::to_string(nonce.length) + " bytes instead of " +
                                                         std::to_string(shortestNonce) + " to " +
                                                         std::to_string(longest));
    }
    return OpcUa_Good;
}

UaStatus SessionSecurity::checkShownCertificate(const UA_ByteString& shown) const {
    return leafOf(UaByteString(shown)) == leafOf(m_info.serverCertificate)
               ? UaStatus()
               : refuseOtherCertificate("the server shows", shown);
}

/// This client sends no issuers with its certificate: there is one way only in which a server can sign it.
UaStatus SessionSecurity::checkSignature(const UA_ByteString& signature) const {
    const UaByteString& own = m_info.material().certificate;
    std::vector<OpcUa_Byte> data(own.data(), own.data() + own.length());
    data.insert(data.end(), m_nonce.begin(), m_nonce.end());
    if (!m_serverKey.verify({data.data(), data.size()}, signature)) {
        return refuse(UA_STATUSCODE_BADAPPLICATIONSIGNATUREINVALID,
                      "the server's signature does not prove that it has the key of its " +
                          UaPkiCertificate::fromDER(m_info.serverCertificate).description().text());
    }
    return OpcUa_Good;
}

/// Nobody protects a query, so what it brought counts only when the session says the same. Some servers tell
/// no endpoints with a session: that contradicts nothing, but is no proof either that the server cannot take
/// a password encrypted.
UaStatus SessionSecurity::checkEndpoints(const EndpointOffers& ofSession) const {
    if (ofSession.count == 0) {
        return isPasswordReadable()
                   ? refuse(UA_STATUSCODE_BADSECURITYCHECKSFAILED,
                            "the password would go out in clear text, and the server does not confirm, "
                            "with the session, that its endpoint with " +
                                wanted().text() + " offers nothing else")
                   : UaStatus();
    }
    // Who may read a password could have hidden an endpoint that is better altogether.
    const Compared compared = isPasswordReadable() ? Compared::All : Compared::WithWantedSecurity;
    if (!areSameOffers(ofSession, offers(), wanted(), *m_choice.endpoint, compared)) {
        return refuse(UA_STATUSCODE_BADSECURITYCHECKSFAILED,
                      "the server's endpoints are not the same with the session as in the query before it: "
                      "one of the two lists was changed on the way");
    }
    return OpcUa_Good;
}

UaStatus SessionSecurity::fill(UA_ActivateSessionRequest& request, const UA_CreateSessionResponse& response) {
    UaStatus status;
    if (isNeeded())
        status = makeToken(response.serverNonce);
    else
        makeAnonymousToken({response.serverEndpoints, response.serverEndpointsSize});
    if (status.isGood() && isChannelSecured())
        status = sign(request, response.serverNonce);
    if (status.isGood())
        m_token.fill(request);
    m_refusedHere = status.isBad();
    return status;
}

/// A server that tells of no anonymous users may take a session without any token.
void SessionSecurity::makeAnonymousToken(const EndpointOffers& ofSession) {
    const EndpointChoice choice = chooseEndpoint(ofSession, wanted(), UA_USERTOKENTYPE_ANONYMOUS);
    if (choice.token != nullptr)
        m_token.makeAnonymous(choice.token->policyId);
}

UaStatus SessionSecurity::makeToken(const UA_ByteString& nonce) {
    if (isPasswordReadable()) {
        UaTrace::write(UaTrace::Warnings, "security",
                       "the password goes out in clear text: the endpoint offers nothing else");
    }
    UserToken::Protection protection;
    protection.policy = m_choice.protection;
    protection.serverKey = m_serverTokenKey;
    protection.serverCertificate = leafOf(m_info.serverCertificate);
    protection.serverNonce = nonce;
    const UaStatus status = m_token.make(m_info.user(), m_choice.token->policyId, protection);
    if (status.isBad()) {
        return refuse(status, "the token of the " + userText() + " cannot be protected by " +
                                  m_choice.protection->name);
    }
    return OpcUa_Good;
}

/// Of a chain the first certificate is signed, whatever the server sent (OPC UA Part 4, 5.6.3).
UaStatus SessionSecurity::sign(UA_ActivateSessionRequest& request, const UA_ByteString& nonce) {
    m_signature = signCertificateAndNonce(m_ownKey, leafOf(m_info.serverCertificate), nonce);
    if (m_signature.empty()) {
        return refuse(UA_STATUSCODE_BADSECURITYCHECKSFAILED,
                      "this client's own key cannot sign for " + wanted().text());
    }
    request.clientSignature.algorithm = UA_STRING(const_cast<char*>(m_policy->asymmetricSignatureUri));
    request.clientSignature.signature = {m_signature.size(), m_signature.data()};
    return OpcUa_Good;
}

} // namespace UaClientSdk
