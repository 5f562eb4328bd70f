#include "client/client_session.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <utility>

#include "subscription/callback.h"
#include "uabase/trace.h"

using namespace UaClientSdk;

std::shared_ptr<UaSession> ClientSession::get() const {
    return std::atomic_load(&m_session);
}

std::shared_ptr<UaSession> ClientSession::connected() const {
    auto session = get();
    return session && session->isConnected() ? session : nullptr;
}

void ClientSession::begin(std::shared_ptr<UaSession> session, std::string url) {
    const std::lock_guard<std::mutex> lock(m_changes);
    m_url = std::move(url);
    std::atomic_store(&m_session, std::move(session));
}

unsigned int ClientSession::requestsAhead(const std::string& url) const {
    const std::lock_guard<std::mutex> lock(m_changes);
    if (m_carefulUrls.count(url) == 0)
        return SessionConnectInfo::defaultRequestsAhead;
    UaTrace::write(UaTrace::Warnings, "connect",
                   "%s gets one request at a time: something was lost with several on their way",
                   url.c_str());
    return 1;
}

SessionEnd::SessionEnd(ClientSession& session, CCallback& sink)
    : m_session(session), m_sink(sink), m_lock(session.m_changes, std::defer_lock),
      m_closure(sink.deliveries) {
    m_lock.lock();
}

void SessionEnd::release() {
    const auto ended = std::atomic_exchange(&m_session.m_session, std::shared_ptr<UaSession>());
    m_sink.items.forgetSubscription();
    if (!ended || !ended->wasLostAhead())
        return;
    try {
        m_session.m_carefulUrls.insert(m_session.m_url);
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): the next connection is no less useful
    }
}
