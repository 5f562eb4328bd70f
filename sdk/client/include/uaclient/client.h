#pragma once

namespace UaClientSdk {

/// Vocabulary that sessions share.
class UaClient {
public:
    /// State of a session's connection, as connectionStatusChanged() reports it.
    enum ServerStatus : int {
        Disconnected = 0,
        Connected = 1,
        /// The server is silent although something was asked for. Connection, session and subscription are
        /// kept: calls answer at once that there is no connection, until the server speaks again.
        WatchdogExpired = 2,
        /// The connection closed, or channel or session are of no more use. Nothing reconnects by itself.
        ConnectionLost = 3,
        /// The server announced that it is going down.
        ServerShutdown = 4,
        /// The session works, but the server ended its subscription, fell silent on it or refuses to
        /// publish: until another one is created, or it speaks again, no data comes.
        SubscriptionLost = 5
    };
};

} // namespace UaClientSdk
