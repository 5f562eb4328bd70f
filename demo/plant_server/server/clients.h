#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <open62541/plugin/accesscontrol_default.h>
#include <open62541/server.h>

#include "nodes/node_id.h"

namespace plant_server {

/// Who may use a node.
enum class Access { Everyone, LoggedInUsers, Nobody };

/// What hangs on every variable that needs something of its own; variables without one are for everyone.
struct NodeContext {
    Access access = Access::Everyone;
};

struct LoginOptions {
    std::map<std::string, std::string> passwords; ///< by user name
    bool anonymous = true;
};

/// How the latest session was activated.
struct LatestLogin {
    std::string userType; ///< "Anonymous", "UserName" or "Certificate"
    std::string user;     ///< the name, or the subject of the certificate
    std::string policyUri;
    std::string mode; ///< "None", "Sign" or "SignAndEncrypt"
};

/// Who is connected: logins, rights for each user, and what clients hold at the moment. It takes the context
/// pointer of the server's configuration for itself.
class Clients {
public:
    explicit Clients(LoginOptions options) : m_options(std::move(options)) {}
    Clients(const Clients&) = delete;
    Clients& operator=(const Clients&) = delete;

    /// The security policies must be in the configuration before. The object must outlive the server.
    void install(UA_ServerConfig& config);

    const std::vector<NodeId>& sessions() const { return m_sessions; }
    const LatestLogin& latestLogin() const { return m_latestLogin; }
    UA_UInt32 monitoredItems() const { return m_monitoredItems; }
    /// Values that clients asked to read or write, one for each value, samplings for subscriptions included.
    UA_UInt64 valueAccesses() const { return m_valueAccesses; }

private:
    static Clients& of(UA_Server* server);
    static UA_StatusCode logIn(const UA_String* name, const UA_ByteString* password, size_t,
                               const UA_UsernamePasswordLogin*, void** sessionContext, void* self);
    static UA_StatusCode activateSession(UA_Server* server, UA_AccessControl* control,
                                         const UA_EndpointDescription* endpoint,
                                         const UA_ByteString* certificate, const UA_NodeId* sessionId,
                                         const UA_ExtensionObject* token, void** sessionContext);
    static void closeSession(UA_Server* server, UA_AccessControl* control, const UA_NodeId* sessionId,
                             void* sessionContext);
    static UA_Byte userAccessLevel(UA_Server* server, UA_AccessControl*, const UA_NodeId*,
                                   void* sessionContext, const UA_NodeId*, void* nodeContext);
    static void countMonitoredItem(UA_Server* server, const UA_NodeId*, void*, const UA_NodeId*, void*,
                                   UA_UInt32, UA_Boolean removed);
    void forget(const UA_NodeId& session);
    void keepLogin(UA_Server* server, const UA_EndpointDescription& endpoint,
                   const UA_ExtensionObject& token);

    LoginOptions m_options;
    decltype(UA_AccessControl::activateSession) m_activateOfStack = nullptr;
    decltype(UA_AccessControl::closeSession) m_closeOfStack = nullptr;
    std::vector<NodeId> m_sessions;
    LatestLogin m_latestLogin;
    UA_UInt32 m_monitoredItems = 0;
    UA_UInt64 m_valueAccesses = 0;
};

} // namespace plant_server
