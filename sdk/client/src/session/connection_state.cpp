#include "session/connection_state.h"

#include <memory>
#include <mutex>
#include <utility>

#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

CallbackTask reportTask(UaSessionCallback* callback, UaClient::ServerStatus status) {
    CallbackTask task;
    task.function = [](void* target, int value) {
        if (target != nullptr) {
            static_cast<UaSessionCallback*>(target)->connectionStatusChanged(
                clientConnectionId, static_cast<UaClient::ServerStatus>(value));
        }
    };
    task.context = std::shared_ptr<void>(std::shared_ptr<void>(), callback); // the callback is not ours
    task.argument = status;
    return task;
}

const char* describe(UaClient::ServerStatus status) {
    switch (status) {
    case UaClient::Connected:
        return "the connection works";
    case UaClient::WatchdogExpired:
        return "the server is silent; the session is kept";
    case UaClient::ConnectionLost:
        return "the connection is lost";
    case UaClient::ServerShutdown:
        return "the server is about to stop";
    case UaClient::SubscriptionLost:
        return "no data comes from the subscription";
    default:
        return "disconnected";
    }
}

} // namespace

UaStatus ConnectionState::open(UaSessionCallback* callback) {
    UaStatus status;
    std::unique_ptr<CallbackThread> thread = CallbackThread::start(status);
    if (thread == nullptr)
        return status;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_callback = callback;
        m_thread = std::move(thread);
        m_open = true;
        m_isLost = m_isSilent = m_isShutdown = m_isDataLost = false;
        m_reported = UaClient::Disconnected;
        m_usable = true;
        m_silent = false;
        report();
    }
    m_thread->flush();
    return status;
}

void ConnectionState::close() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open = false;
    m_usable = false;
}

void ConnectionState::stopReports() {
    if (m_thread != nullptr)
        m_thread->stop(reportTask(m_callback, UaClient::Disconnected));
}

void ConnectionState::lost() {
    change(m_isLost, true);
}

void ConnectionState::setSilent(bool silent) {
    change(m_isSilent, silent);
}

void ConnectionState::setServerShutdown(bool shutdown) {
    change(m_isShutdown, shutdown);
}

void ConnectionState::setDataLost(bool lost) {
    change(m_isDataLost, lost);
}

void ConnectionState::change(bool& flag, bool value) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_open && flag != value) {
        flag = value;
        m_silent = m_isSilent;
        m_usable = !m_isLost && !m_isSilent;
        report();
    }
}

UaClient::ServerStatus ConnectionState::status() const {
    if (m_isLost)
        return UaClient::ConnectionLost;
    if (m_isSilent)
        return UaClient::WatchdogExpired;
    if (m_isShutdown)
        return UaClient::ServerShutdown;
    return m_isDataLost ? UaClient::SubscriptionLost : UaClient::Connected;
}

void ConnectionState::report() {
    const UaClient::ServerStatus now = status();
    if (now != m_reported) {
        UaTrace::write(now == UaClient::Connected ? UaTrace::LifeCycle : UaTrace::Errors, "session", "%s",
                       describe(now));
        m_thread->post(reportTask(m_callback, now));
        m_reported = now;
    }
}

} // namespace UaClientSdk
