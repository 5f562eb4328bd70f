#pragma once

namespace UaClientSdk {

/// How far an attempt to connect came, and who ended it.
struct ConnectFailure {
    enum class Step { Reach, OpenChannel, CreateSession, ActivateSession };

    Step step = Step::Reach;
    /// Whether the server said no, or hung up; else it was this side.
    bool byPeer = false;
    /// Whether the status is what the server itself said.
    bool isPeersWord = false;
};

} // namespace UaClientSdk
