// What the trace is told, and why.
#include <string>

#include "channel/refusal.h"
#include "session/session_security.h"
#include "uabase/trace.h"
#include "uapki/certificate.h"

namespace UaClientSdk {
namespace {

const char* stepText(ConnectFailure::Step step) {
    switch (step) {
    case ConnectFailure::Step::OpenChannel:
        return "opening the secure channel";
    case ConnectFailure::Step::CreateSession:
        return "creating the session";
    default:
        return "activating the session for its user";
    }
}

std::string describe(const UaByteString& certificate) {
    return UaPkiCertificate::fromDER(certificate).description().text();
}

} // namespace

UaStatus SessionSecurity::refuseNotOffered() const {
    return refuse(UA_STATUSCODE_BADSECURITYPOLICYREJECTED, "the server " + m_url.text() +
                                                               " offers no endpoint with " + wanted().text() +
                                                               "; it offers " + offeredSecurity());
}

UaStatus SessionSecurity::refuseOtherCertificate(const std::string& where,
                                                 const UA_ByteString& certificate) const {
    return refuse(UA_STATUSCODE_BADCERTIFICATEUNTRUSTED,
                  where + " another certificate than the one that was decided on: " +
                      describe(UaByteString(certificate)));
}

void SessionSecurity::explainFailure(ConnectFailure failure, UaStatus status) const {
    // What could not be reached, and what was refused here, is told where it happened.
    if (failure.step == ConnectFailure::Step::Reach || m_refusedHere)
        return;
    const char* step = stepText(failure.step);
    if (status.statusCode() == UA_STATUSCODE_BADTIMEOUT && !failure.isPeersWord) {
        UaTrace::write(UaTrace::Errors, "security", "no answer in time from the server %s while %s",
                       m_url.toUtf8(), step);
        return;
    }
    UaTrace::write(UaTrace::Errors, "security", "refused by %s %s while %s: %s%s",
                   failure.byPeer ? "the server" : "this client: the server", m_url.toUtf8(), step,
                   status.name(), isNeeded() ? hintFor(failure.step).c_str() : "");
}

/// Servers keep their reasons to themselves: what they were given is what can be looked at.
std::string SessionSecurity::hintFor(ConnectFailure::Step step) const {
    if (step == ConnectFailure::Step::ActivateSession)
        return "; the user is " + userText();
    std::string text = "; asked for " + wanted().text();
    if (m_info.messageSecurityMode != OpcUa_MessageSecurityMode_None) {
        text += "; does the server trust this client's own " + describe(m_info.material().certificate) +
                ", from " + m_info.material().certificateFile.text() + ", and has it still its own " +
                describe(m_info.serverCertificate) + "?";
    }
    return text;
}

std::string SessionSecurity::offeredSecurity() const {
    std::string text;
    for (const UA_EndpointDescription& endpoint : offers())
        text += (text.empty() ? "" : ", ") + securityText(endpoint);
    return text.empty() ? "nothing" : text;
}

std::string SessionSecurity::serverText() const {
    return "the server's " + describe(m_info.serverCertificate);
}

std::string SessionSecurity::userText() const {
    const User& user = m_info.user();
    switch (user.kind) {
    case User::Kind::Password:
        return "user name \"" + user.name.text() + "\"";
    case User::Kind::Certificate:
        return "user " + describe(user.certificate);
    default:
        return "anonymous";
    }
}

} // namespace UaClientSdk
