#pragma once

#include <cstdarg>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <open62541/client.h>

#include "deadline.h"
#include "uabase/status.h"
#include "uabase/string.h"

namespace UaClientSdk {

/// Fills in what a connection needs beyond the common settings, before it is opened. A bad status ends the
/// attempt.
using EngineSetup = std::function<UaStatus(UA_ClientConfig&)>;

/// One connection of the protocol engine with an event loop of its own. Not thread-safe: whoever uses it owns
/// the loop for that time.
///
/// The engine reconnects to whatever host name a server announces, resolves names inside its loop and takes a
/// second to report a refused port. So the address is resolved here, every TCP connection of the engine is
/// pinned to it, and opening is driven from here, in time.
class EngineClient {
public:
    enum class Purpose { Session, Query };
    /// How far an attempt to open came.
    enum class Step { Reach, OpenChannel, CreateSession, ActivateSession };
    struct Failure {
        Step step = Step::Reach;
        /// Whether the peer said no, or hung up; else it was this side.
        bool byPeer = false;
    };
    using StateHandler = std::function<void(bool usable, UaStatus reason)>;
    using SocketHandler = std::function<void(int socket)>;

    /// Opens a connection to `url`, trying each of the host's addresses. On failure `status` tells why and
    /// the result is null. `deadline` bounds everything. `failure`, where given, tells how far it came.
    static std::unique_ptr<EngineClient> open(Purpose purpose, const UaString& url, const EngineSetup& setup,
                                              const Deadline& deadline, UaStatus& status,
                                              Failure* failure = nullptr);

    ~EngineClient();
    EngineClient(const EngineClient&) = delete;
    EngineClient& operator=(const EngineClient&) = delete;

    UA_Client* handle() { return m_client; }
    UA_ClientConfig& config() { return *UA_Client_getConfig(m_client); }
    int socket() const { return m_socket; }

    /// Called from inside the loop when the connection stops or starts being usable.
    void setStateHandler(StateHandler handler) { m_stateHandler = std::move(handler); }
    /// Called from inside the loop when the engine opens a socket, and with -1 when that one has closed.
    void setSocketHandler(SocketHandler handler) { m_socketHandler = std::move(handler); }

    /// Handles what has arrived and the timers that are due, without waiting.
    void iterate();
    /// Whether the engine put work aside for its next iteration: no socket event announces it.
    bool hasDelayedWork() const { return m_delayedWork; }
    /// Milliseconds until the next timer is due.
    int untilNextTimer() const;

    /// One service call on this thread. The engine fills `response`, which the caller clears.
    void call(const void* request, const UA_DataType& requestType, void* response,
              const UA_DataType& responseType);

    /// Whether the engine sets up a lost connection or session anew. At first it does not.
    void allowReconnect(bool allowed);

    /// To be called before a subscription is created.
    void expectSubscription();
    /// Whether the server has told, since then, that it knows of no subscription in the session.
    bool isWithoutSubscription() const { return m_noSubscriptionAnswers > m_publishRequests; }

    /// Gives the connection up: no state is reported any more and close() waits for nothing.
    void abandon() {
        m_usable = false;
        m_abandoned = true;
    }
    /// Closes session and channel. A connection that is not usable any more is told so without waiting for
    /// it.
    void close(bool deleteSubscriptions, UA_UInt32 timeout);

private:
    EngineClient(Purpose purpose, const EngineSetup& setup);

    UaStatus connect(const UaString& url, const std::string& address, const Deadline& deadline);
    bool isOpen(UA_StatusCode& connectStatus);
    Failure failure() const;
    void waitForSocket(int timeout) const;
    void closeSession(bool deleteSubscriptions, UA_UInt32 timeout);
    void announceClose(bool deleteSubscriptions);
    bool reviveSession();
    void rememberSession();
    void destroyEventLoop();

    static void stateChanged(UA_Client* client, UA_SecureChannelState channel, UA_SessionState session,
                             UA_StatusCode connectStatus);
    static UA_StatusCode openPinned(UA_ConnectionManager* manager, const UA_KeyValueMap* parameters,
                                    void* application, void* context,
                                    UA_ConnectionManager_connectionCallback callback);
    static void networkEvent(UA_ConnectionManager* manager, uintptr_t connectionId, void* application,
                             void** connectionContext, UA_ConnectionState state,
                             const UA_KeyValueMap* parameters, UA_ByteString message);
    static UA_StatusCode send(UA_ConnectionManager* manager, uintptr_t connectionId,
                              const UA_KeyValueMap* parameters, UA_ByteString* message);
    static void addDelayedCallback(UA_EventLoop* loop, UA_DelayedCallback* callback);
    static void log(void* self, UA_LogLevel level, UA_LogCategory category, const char* format, va_list args);
    void cutWaitShort();
    void noSubscriptionAnswered();

    Purpose m_purpose;
    UaStatus m_setupStatus;
    UA_Logger m_logger;
    UA_EventLoop* m_loop = nullptr;
    UA_Client* m_client = nullptr;
    StateHandler m_stateHandler;
    SocketHandler m_socketHandler;
    bool m_usable = false;
    bool m_abandoned = false;

    // The pinned TCP connection.
    std::string m_address;
    int m_socket = -1;
    bool m_established = false;
    bool m_everEstablished = false;
    bool m_channelOpened = false;
    bool m_peerError = false;
    int m_opened = 0;

    // A session that exists on the server but is not active yet; the engine forgets it when activation fails.
    UA_NodeId m_createdSession = UA_NODEID_NULL;
    UA_ByteString m_createdSessionNonce = UA_BYTESTRING_NULL;
    bool m_quiet = false;

    int m_publishRequests = 0; ///< that the engine keeps waiting at the server
    int m_noSubscriptionAnswers = 0;

    bool m_delayedWork = false;
    UA_DelayedCallback m_wakeUp{};
    decltype(UA_ConnectionManager::openConnection) m_openConnection = nullptr;
    decltype(UA_ConnectionManager::sendWithConnection) m_send = nullptr;
    decltype(UA_EventLoop::addDelayedCallback) m_addDelayedCallback = nullptr;
    UA_ConnectionManager_connectionCallback m_networkCallback = nullptr;
};

} // namespace UaClientSdk
