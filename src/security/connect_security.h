#pragma once

#include "OpcUaTypes.h"
#include "client/last_error.h"
#include "security/configuration.h"
#include "uabase/string.h"
#include "uaclient/security_info.h"
#include "uastack/protocol_types.h"

// What OpcUaConnect() does for security before it opens the session.

/// Whether the connect is to be a secured one.
bool asksForSecurity(const _OpcUaClientConfig& config);

/// Puts policy, mode and server certificate into the session's security.
void setEndpoint(const _OpcUaClientConfig& config, const OpcUa_ByteString& serverCertificate,
                 UaClientSdk::SessionSecurityInfo& securityInfo);

/// Loads the client's certificate, asks the server for its own and has it decided on. Returns 0 or a result
/// code.
/// @param callback  the application's COpcUaClientInterface::OpcUaCallBack, or null
int prepareSecurity(const _OpcUaClientConfig& config, const UaString& url, Configuration& configuration,
                    void* callback, UaClientSdk::SessionSecurityInfo& securityInfo, LastError& error);

/// Sets who the user is. Returns 0 or a result code.
int setUserIdentity(const _OpcUaClientConfig& config, Configuration& configuration,
                    UaClientSdk::SessionSecurityInfo& securityInfo, LastError& error);

/// Tells in the trace where the user's certificate came from, if the user has one.
void traceUserCertificate(const _OpcUaClientConfig& config, const Configuration& configuration);
