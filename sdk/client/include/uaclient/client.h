#pragma once

namespace UaClientSdk {

/// Vocabulary that sessions share.
class UaClient {
public:
    /// State of a session's connection, as connectionStatusChanged() reports it.
    enum ServerStatus {
        Disconnected = 0,
        Connected = 1,
        /// The network is silent: the watchdog's probe was not answered. The session is given up.
        WatchdogExpired = 2,
        /// The connection closed or the secure channel failed.
        ConnectionLost = 3,
        /// The server announced that it is going down.
        ServerShutdown = 4,
        /// The session works, but the server ended its subscription or fell silent on it: until another one
        /// is created, or it speaks again, no data comes.
        SubscriptionLost = 5
    };
};

} // namespace UaClientSdk
