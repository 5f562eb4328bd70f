#pragma once

#include <memory>

#include "calls/pipe.h"
#include "session/connect_failure.h"
#include "session/session_security.h"
#include "uabase/node_id.h"
#include "uaclient/session_connect_info.h"

namespace UaClientSdk {

/// A session on a server, activated.
struct OpenSession {
    std::unique_ptr<Pipe> pipe;
    UaNodeId authenticationToken;
    /// Milliseconds, as the server revised it.
    double sessionTimeout = 0;
};

/// Opens a channel and a session on it (OPC UA Part 4, 5.6.2 and 5.6.3). On failure nothing is left open,
/// here or on the server, and `failure` tells where the attempt ended. `deadline` bounds all of it.
UaStatus openSession(const UaString& url, const SessionConnectInfo& info, SessionSecurity& security,
                     const Deadline& deadline, OpenSession& session, ConnectFailure& failure);

/// Asks the server to close a session without waiting for the answer, as far as the system takes the request
/// at once.
void closeSessionUnheard(Pipe& pipe, const UaNodeId& authenticationToken, bool deleteSubscriptions);

} // namespace UaClientSdk
