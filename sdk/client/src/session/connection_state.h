#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "subscription/callback_thread.h"
#include "uabase/status.h"
#include "uaclient/callbacks.h"

namespace UaClientSdk {

/// The id that reports carry: a session object has one connection at a time.
constexpr unsigned int clientConnectionId = 1;

/// What is known of a session's connection. Whether calls are made and what the application is told come from
/// here, so that they never differ. Reports are made on a thread of their own: they wait for nothing that
/// data does.
class ConnectionState {
public:
    ConnectionState() = default;
    ConnectionState(const ConnectionState&) = delete;
    ConnectionState& operator=(const ConnectionState&) = delete;

    /// Starts reporting, with Connected, and returns when that has been told. BadResourceUnavailable when
    /// there is no thread for it. `callback` may be null.
    UaStatus open(UaSessionCallback* callback);
    /// From now on nothing is reported but, on stopReports(), Disconnected.
    void close();
    /// Waits for a report that is running, unless called from it.
    void stopReports();

    // What is noticed.
    void lost();
    void setSilent(bool silent);
    void setServerShutdown(bool shutdown);
    void setDataLost(bool lost);

    /// Whether calls have somebody to talk to.
    bool isUsable() const { return m_usable; }
    bool isSilent() const { return m_silent; }

private:
    void change(bool& flag, bool value);
    void report();
    UaClient::ServerStatus status() const;

    std::atomic<bool> m_usable{false};
    std::atomic<bool> m_silent{false};

    std::mutex m_mutex; ///< guards what follows
    UaSessionCallback* m_callback = nullptr;
    std::unique_ptr<CallbackThread> m_thread;
    bool m_open = false;
    bool m_isLost = false;
    bool m_isSilent = false;
    bool m_isShutdown = false;
    bool m_isDataLost = false;
    UaClient::ServerStatus m_reported = UaClient::Disconnected;
};

} // namespace UaClientSdk
