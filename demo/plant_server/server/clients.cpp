#include "server/clients.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "nodes/status.h"

namespace plant_server {
namespace {

template <class Token>
const UA_DataType* tokenType();
template <>
const UA_DataType* tokenType<UA_UserNameIdentityToken>() {
    return &UA_TYPES[UA_TYPES_USERNAMEIDENTITYTOKEN];
}
template <>
const UA_DataType* tokenType<UA_X509IdentityToken>() {
    return &UA_TYPES[UA_TYPES_X509IDENTITYTOKEN];
}

template <class Token>
bool isA(const UA_ExtensionObject& token) {
    const bool decoded =
        token.encoding == UA_EXTENSIONOBJECT_DECODED || token.encoding == UA_EXTENSIONOBJECT_DECODED_NODELETE;
    return decoded && token.content.decoded.type == tokenType<Token>();
}

std::string modeName(UA_MessageSecurityMode mode) {
    switch (mode) {
    case UA_MESSAGESECURITYMODE_NONE:
        return "None";
    case UA_MESSAGESECURITYMODE_SIGN:
        return "Sign";
    case UA_MESSAGESECURITYMODE_SIGNANDENCRYPT:
        return "SignAndEncrypt";
    default:
        return "";
    }
}

} // namespace

Clients& Clients::of(UA_Server* server) {
    return *static_cast<Clients*>(UA_Server_getConfig(server)->context);
}

void Clients::install(UA_ServerConfig& config) {
    std::vector<UA_UsernamePasswordLogin> logins;
    for (const auto& [name, password] : m_options.passwords)
        logins.push_back({view(name), view(password)});
    // One set of token policies for all endpoints: the stack gives each token the policy of its endpoint, and
    // repeats the set for each policy that it isn't told.
    require(UA_AccessControl_defaultWithLoginCallback(&config, m_options.anonymous,
                                                      &config.securityPolicies[0].policyUri, logins.size(),
                                                      logins.data(), logIn, this),
            "set the access control up");
    config.context = this;
    m_activateOfStack = config.accessControl.activateSession;
    m_closeOfStack = config.accessControl.closeSession;
    config.accessControl.activateSession = activateSession;
    config.accessControl.closeSession = closeSession;
    config.accessControl.getUserAccessLevel = userAccessLevel;
    config.monitoredItemRegisterCallback = countMonitoredItem;
}

UA_StatusCode Clients::logIn(const UA_String* name, const UA_ByteString* password, size_t,
                             const UA_UsernamePasswordLogin*, void** sessionContext, void* self) {
    auto& passwords = static_cast<Clients*>(self)->m_options.passwords;
    const auto user = passwords.find(text(*name));
    if (user == passwords.end() || user->second != text(*password))
        return UA_STATUSCODE_BADUSERACCESSDENIED;
    *sessionContext = &*user;
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode Clients::activateSession(UA_Server* server, UA_AccessControl* control,
                                       const UA_EndpointDescription* endpoint,
                                       const UA_ByteString* certificate, const UA_NodeId* sessionId,
                                       const UA_ExtensionObject* token, void** sessionContext) {
    Clients& clients = of(server);
    // A session that was a user's and is activated again as anonymous must lose that user's rights.
    *sessionContext = nullptr;
    const UA_StatusCode status =
        clients.m_activateOfStack(server, control, endpoint, certificate, sessionId, token, sessionContext);
    if (status == UA_STATUSCODE_GOOD) {
        clients.forget(*sessionId);
        clients.m_sessions.emplace_back(*sessionId);
        clients.keepLogin(server, *endpoint, *token);
        // Whoever has a context is logged in; a user name has got one by now.
        if (isA<UA_X509IdentityToken>(*token))
            *sessionContext = &clients;
    }
    return status;
}

void Clients::keepLogin(UA_Server* server, const UA_EndpointDescription& endpoint,
                        const UA_ExtensionObject& token) {
    m_latestLogin = {"Anonymous", "", text(endpoint.securityPolicyUri), modeName(endpoint.securityMode)};
    const void* content = token.content.decoded.data;
    if (isA<UA_UserNameIdentityToken>(token)) {
        m_latestLogin.userType = "UserName";
        m_latestLogin.user = text(static_cast<const UA_UserNameIdentityToken*>(content)->userName);
    } else if (isA<UA_X509IdentityToken>(token)) {
        m_latestLogin.userType = "Certificate";
        UA_ByteString certificate = static_cast<const UA_X509IdentityToken*>(content)->certificateData;
        UA_String subject = UA_STRING_NULL;
        UA_Server_getConfig(server)->sessionPKI.getSubjectName(&subject, &certificate);
        m_latestLogin.user = text(subject);
        UA_String_clear(&subject);
    }
}

void Clients::closeSession(UA_Server* server, UA_AccessControl* control, const UA_NodeId* sessionId,
                           void* sessionContext) {
    Clients& clients = of(server);
    clients.forget(*sessionId);
    clients.m_closeOfStack(server, control, sessionId, sessionContext);
}

void Clients::forget(const UA_NodeId& session) {
    m_sessions.erase(
        std::remove_if(m_sessions.begin(), m_sessions.end(),
                       [&](const NodeId& known) { return UA_NodeId_equal(&known.get(), &session); }),
        m_sessions.end());
}

UA_Byte Clients::userAccessLevel(UA_Server* server, UA_AccessControl*, const UA_NodeId*, void* sessionContext,
                                 const UA_NodeId*, void* nodeContext) {
    ++of(server).m_valueAccesses;
    constexpr UA_Byte everything = 0xFF;
    const Access access =
        nodeContext == nullptr ? Access::Everyone : static_cast<const NodeContext*>(nodeContext)->access;
    const bool allowed =
        access == Access::Everyone || (access == Access::LoggedInUsers && sessionContext != nullptr);
    return allowed ? everything : 0;
}

void Clients::countMonitoredItem(UA_Server* server, const UA_NodeId*, void*, const UA_NodeId*, void*,
                                 UA_UInt32, UA_Boolean removed) {
    UA_UInt32& count = of(server).m_monitoredItems;
    removed ? --count : ++count;
}

} // namespace plant_server
