#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <utility>

#include "calls/service_call.h"
#include "session/connection_state.h"
#include "uabase/node_id.h"

namespace UaClientSdk {

/// Asks the server for its state from time to time, and tells from what is answered, and when, whether it is
/// there.
class Watchdog : public std::enable_shared_from_this<Watchdog> {
public:
    struct Times {
        std::chrono::milliseconds interval; ///< between questions
        std::chrono::milliseconds patience; ///< with an answer that has to come soon
    };
    Watchdog(ConnectionState& state, SessionLossListener& listener, UaNodeId authenticationToken, Times times)
        : m_state(state), m_listener(listener), m_authenticationToken(std::move(authenticationToken)),
          m_times(times), m_nextProbe(Clock::now() + times.interval) {}

    /// On the network thread: asks, and judges. Returns when it wants to be called next.
    Clock::time_point keepHouse(Pipe& pipe);
    /// Time has passed in which nothing could be heard.
    void forgetSilence() { m_notBefore = Clock::now(); }

private:
    class ProbeAnswer;
    void probe(Pipe& pipe);
    void answered(UaByteView body);
    void refused(UaStatus status);
    Clock::time_point judge(Pipe& pipe, Clock::time_point now);

    ConnectionState& m_state;
    SessionLossListener& m_listener;
    const UaNodeId m_authenticationToken;
    const Times m_times;
    Clock::time_point m_nextProbe;
    bool m_probeIsDue = false; ///< and could not be sent while somebody else was sending
    Clock::time_point m_notBefore{};
    std::atomic<bool> m_asked{false};
    std::atomic<bool> m_isRefused{false}; ///< lately
    std::atomic<bool> m_isOfNoUse{false}; ///< likewise, in the server's words
};

} // namespace UaClientSdk
