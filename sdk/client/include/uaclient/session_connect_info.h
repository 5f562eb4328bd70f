#pragma once

#include "uabase/string.h"
#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// Who we are and how a session is kept. Times are in milliseconds.
struct SessionConnectInfo {
    UaString applicationUri;
    UaString applicationName;
    UaString productUri;
    UaString sessionName;

    /// OPC UA Part 4, 5.7.2: the session time-out asked for.
    OpcUa_Double sessionTimeout = 1200000.0;
    /// OPC UA Part 4, 5.6.2: the secure channel's life time asked for.
    OpcUa_UInt32 secureChannelLifetime = 3600000;
    /// Bounds the whole connect: name resolution, TCP, secure channel and session. 0 or less stands for the
    /// default.
    OpcUa_Int32 connectTimeout = defaultConnectTimeout;
    /// The server is asked for its state this often...
    OpcUa_UInt32 watchdogInterval = 5000;
    /// ...and taken for silent when something was asked for and nothing came for this time.
    OpcUa_UInt32 watchdogTimeout = 5000;
    /// How many requests of a sequence may be on their way at a time, 16 at the most; 1: each waits for the
    /// answer to the one before it.
    OpcUa_UInt32 requestsAhead = defaultRequestsAhead;
    /// Has no effect: a connection that is lost stays lost until the application connects anew.
    bool automaticReconnect = true;

    static constexpr OpcUa_Int32 defaultConnectTimeout = 5000;
    static constexpr OpcUa_UInt32 defaultRequestsAhead = 16;
    /// What connectTimeout stands for.
    OpcUa_Int32 effectiveConnectTimeout() const {
        return connectTimeout > 0 ? connectTimeout : defaultConnectTimeout;
    }
};

} // namespace UaClientSdk
