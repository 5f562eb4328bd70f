#pragma once

#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "client/mutex.h"
#include "subscription/delivery_gate.h"
#include "uaclient/session.h"

class CCallback;

/// A client's session, and who may use it.
class ClientSession {
public:
    /// The session that there is, connected or not; null without one. It stays usable when another thread
    /// disconnects meanwhile: its calls fail then.
    std::shared_ptr<UaClientSdk::UaSession> get() const;
    /// The session if it is connected, else null.
    std::shared_ptr<UaClientSdk::UaSession> connected() const;

    /// Takes one that has just been connected to `url`.
    void begin(std::shared_ptr<UaClientSdk::UaSession> session, std::string url);
    /// How many requests may be on their way to this server at a time: one if a connection to it broke with
    /// several on their way.
    unsigned int requestsAhead(const std::string& url) const;

    /// The client mutex: the operation that holds it has the session to itself.
    Mutex mutex;

private:
    friend class SessionEnd;

    std::shared_ptr<UaClientSdk::UaSession> m_session; ///< null while not connected; read and set atomically
    mutable std::mutex
        m_changes; ///< held by who puts a session in place or ends it; guards the next two, too
    std::string m_url;
    std::set<std::string> m_carefulUrls; ///< connections to them broke with several requests on their way
};

/// One operation's turn: for as long as it lives, it has the session to itself.
class SessionTurn {
public:
    explicit SessionTurn(ClientSession& session)
        : m_lock(session.mutex), m_session(session.get()),
          m_isConnected(m_session && m_session->isConnected()) {}

    bool hasSession() const { return m_session != nullptr; }
    /// The session if it is connected, else null.
    UaClientSdk::UaSession* connected() const { return m_isConnected ? m_session.get() : nullptr; }

private:
    const MutexLock m_lock;
    const std::shared_ptr<UaClientSdk::UaSession> m_session;
    const bool m_isConnected;
};

/// The right to end the session: one has it at a time, and no callback runs meanwhile but the caller's own.
///
/// The callback that runs may itself be about to end the session, so it is waited for first. Once the mutex
/// is taken no callback is running that could wait for it.
class SessionEnd {
public:
    SessionEnd(ClientSession& session, CCallback& sink);

    /// Forgets session, subscription and items, connected or not.
    void release();

private:
    ClientSession& m_session;
    CCallback& m_sink;
    std::unique_lock<std::mutex> m_lock;
    const DeliveryGate::Closure m_closure; ///< is over before the next session can begin
};
