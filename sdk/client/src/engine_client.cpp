#include "engine_client.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <open62541/client_config_default.h>

#include "engine_log.h"
#include "name_resolution.h"
#include "uabase/trace.h"
#include "uaclient/service_settings.h"

namespace UaClientSdk {
namespace {

/// As much as the engine reads at once: chunks of another size straddle two reads and are copied once more.
constexpr UA_UInt32 bufferSize = 1U << 16;
/// A hostile server may announce any message size; beyond these limits the engine gives the connection up.
constexpr UA_UInt32 maxMessageSize = 16U * 1024 * 1024;
constexpr UA_UInt32 maxChunkCount = 256;

/// The first connection, one more for the URL that the server announces, one more for the chosen endpoint.
constexpr int maxConnectionsPerConnect = 3;

/// The engine's log is the only place where it tells of this answer to a publish request. It logs thirty
/// lines a call: most must be told apart by their first letter.
bool tellsOfNoSubscription(const char* format) {
    constexpr char beginning[] = "Received BadNoSubscription";
    return *format == *beginning && std::strncmp(format, beginning, sizeof beginning - 1) == 0;
}

constexpr UA_UInt16 defaultPort = 4840;
constexpr int housekeepingInterval = 1000;

UA_String viewOf(const std::string& text) {
    UA_String view;
    view.length = text.size();
    view.data = reinterpret_cast<UA_Byte*>(const_cast<char*>(text.data()));
    return view;
}

struct HostAndPort {
    std::string host;
    UA_UInt16 port = 0;
};

UaStatus parseUrl(const UaString& url, HostAndPort& result) {
    const UA_String text = url.view();
    UA_String host = UA_STRING_NULL;
    UA_String path = UA_STRING_NULL;
    const UA_StatusCode status = UA_parseEndpointUrl(&text, &host, &result.port, &path);
    if (status != UA_STATUSCODE_GOOD || host.length == 0) {
        return UA_STATUSCODE_BADTCPENDPOINTURLINVALID;
    }
    result.host.assign(reinterpret_cast<const char*>(host.data), host.length);
    return status;
}

/// When a peer has closed its end, the engine looks at errno all the same: an EAGAIN left there by anything
/// before makes it wait for a connection that is gone.
void forgetErrors() {
    errno = 0;
}

/// OPC UA Part 6, 7.1.2.5: what a server sends before it closes the connection.
bool isErrorMessage(const UA_ByteString& message) {
    constexpr std::size_t typeLength = 3;
    return message.length >= typeLength && std::memcmp(message.data, "ERR", typeLength) == 0;
}

/// A send to a peer that has stopped reading blocks inside the engine; the kernel ends it after this time.
void boundUnacknowledgedData(int socket) {
    const unsigned int milliseconds = ServiceSettings::defaultCallTimeout;
    setsockopt(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, &milliseconds, sizeof milliseconds);
}

/// The engine's sockets would go on to every program that the application starts, and hold the connection
/// open there.
void closeOnExec(int socket) {
    fcntl(socket, F_SETFD, FD_CLOEXEC);
}

} // namespace

std::unique_ptr<EngineClient> EngineClient::open(Purpose purpose, const UaString& url,
                                                 const EngineSetup& setup, const Deadline& deadline,
                                                 UaStatus& status, Failure* failure) {
    HostAndPort target;
    status = parseUrl(url, target);
    if (status.isBad()) {
        UaTrace::write(UaTrace::Errors, "connect", "\"%s\" is not an opc.tcp:// URL", url.toUtf8());
        return nullptr;
    }
    const std::vector<std::string> addresses = resolveHost(target.host, deadline);
    if (addresses.empty()) {
        status = deadline.expired() ? UA_STATUSCODE_BADTIMEOUT : UA_STATUSCODE_BADNOTFOUND;
        UaTrace::write(UaTrace::Errors, "connect", "the host name \"%s\" does not resolve (%s)",
                       target.host.c_str(), status.name());
        return nullptr;
    }
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        // What is left is shared among the addresses, so that a dead one does not use up the time of the
        // others.
        const Deadline share(deadline.remaining() / static_cast<int>(addresses.size() - i));
        std::unique_ptr<EngineClient> client(new EngineClient(purpose, setup));
        if (client->m_setupStatus.isBad()) {
            status = client->m_setupStatus;
            return nullptr;
        }
        status = client->connect(url, addresses[i], share);
        if (status.isGood()) {
            return client;
        }
        UaTrace::write(UaTrace::Errors, "connect", "%s at address %s: %s", url.toUtf8(), addresses[i].c_str(),
                       status.name());
        if (failure != nullptr) {
            *failure = client->failure();
        }
        if (client->m_everEstablished) {
            break; // something answered there: another address would only repeat its refusal
        }
    }
    return nullptr;
}

EngineClient::EngineClient(Purpose purpose, const EngineSetup& setup)
    : m_purpose(purpose), m_logger{&EngineClient::log, this, nullptr} {
    m_loop = UA_EventLoop_new_POSIX(&m_logger);
    UA_ConnectionManager* tcp = UA_ConnectionManager_new_POSIX_TCP(UA_STRING_STATIC("tcp"));
    if (m_loop == nullptr || tcp == nullptr) {
        throw std::bad_alloc();
    }
    m_loop->registerEventSource(m_loop, &tcp->eventSource);
    m_openConnection = tcp->openConnection;
    tcp->openConnection = &EngineClient::openPinned;
    m_send = tcp->sendWithConnection;
    tcp->sendWithConnection = &EngineClient::send;
    m_addDelayedCallback = m_loop->addDelayedCallback;
    m_loop->addDelayedCallback = &EngineClient::addDelayedCallback;

    UA_ClientConfig config{};
    config.clientContext = this;
    config.logging = &m_logger;
    config.eventLoop = m_loop;
    config.externalEventLoop = true;
    config.stateCallback = &EngineClient::stateChanged;
    config.localConnectionConfig.sendBufferSize = bufferSize;
    config.localConnectionConfig.recvBufferSize = bufferSize;
    config.localConnectionConfig.localMaxMessageSize = maxMessageSize;
    config.localConnectionConfig.localMaxChunkCount = maxChunkCount;
    m_setupStatus = setup(config);
    if (UA_ClientConfig_setDefault(&config) == UA_STATUSCODE_GOOD) {
        m_client = UA_Client_newWithConfig(&config);
    }
    if (m_client == nullptr) {
        UA_ClientConfig_clear(&config);
        destroyEventLoop();
        throw std::bad_alloc();
    }
    m_publishRequests = this->config().outStandingPublishRequests;
}

EngineClient::~EngineClient() {
    m_stateHandler = nullptr;
    m_socketHandler = nullptr;
    close(true, ServiceSettings::defaultCallTimeout);
    UA_Client_delete(m_client);
    destroyEventLoop();
    UA_NodeId_clear(&m_createdSession);
    UA_ByteString_clear(&m_createdSessionNonce);
}

void EngineClient::destroyEventLoop() {
    if (m_loop->state == UA_EVENTLOOPSTATE_STARTED) {
        m_loop->stop(m_loop);
    }
    while (m_loop->state == UA_EVENTLOOPSTATE_STOPPING) {
        m_loop->run(m_loop, 0);
    }
    m_loop->free(m_loop);
}

UaStatus EngineClient::connect(const UaString& url, const std::string& address, const Deadline& deadline) {
    m_address = address;
    config().timeout = static_cast<UA_UInt32>(std::max(deadline.remaining(), 1));
    if (m_purpose == Purpose::Session) {
        UA_Client_connectAsync(m_client, url.toUtf8());
    } else {
        UA_Client_connectSecureChannelAsync(m_client, url.toUtf8());
    }
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    while (!isOpen(status)) {
        if (status != UA_STATUSCODE_GOOD) {
            return status;
        }
        const int remaining = deadline.remaining();
        if (remaining == 0) {
            return UA_STATUSCODE_BADTIMEOUT;
        }
        waitForSocket(m_delayedWork ? 0 : std::min(remaining, untilNextTimer()));
        iterate();
    }
    m_usable = true;
    m_opened = 0;
    // A server that hangs up on a call would be connected to again and again until the call's time is up.
    allowReconnect(false);
    return status;
}

void EngineClient::allowReconnect(bool allowed) {
    config().noReconnect = !allowed;
    config().noNewSession = !allowed;
}

bool EngineClient::isOpen(UA_StatusCode& connectStatus) {
    UA_SecureChannelState channel = UA_SECURECHANNELSTATE_CLOSED;
    UA_SessionState session = UA_SESSIONSTATE_CLOSED;
    UA_Client_getState(m_client, &channel, &session, &connectStatus);
    return connectStatus == UA_STATUSCODE_GOOD && channel == UA_SECURECHANNELSTATE_OPEN &&
           (m_purpose == Purpose::Query || session == UA_SESSIONSTATE_ACTIVATED);
}

/// Once the channel is open, what goes wrong is in the server's answers.
EngineClient::Failure EngineClient::failure() const {
    if (!m_everEstablished) {
        return {Step::Reach, false};
    }
    if (!m_channelOpened) {
        return {Step::OpenChannel, m_peerError};
    }
    return {UA_NodeId_isNull(&m_createdSession) ? Step::CreateSession : Step::ActivateSession, true};
}

void EngineClient::waitForSocket(int timeout) const {
    pollfd entry{};
    entry.fd = m_socket;
    entry.events = m_established ? POLLIN : POLLIN | POLLOUT;
    poll(&entry, m_socket < 0 ? 0 : 1, timeout);
}

void EngineClient::iterate() {
    m_delayedWork = false;
    forgetErrors();
    UA_Client_run_iterate(m_client, 0);
}

int EngineClient::untilNextTimer() const {
    const UA_DateTime left = m_loop->nextCyclicTime(m_loop) - m_loop->dateTime_nowMonotonic(m_loop);
    const UA_DateTime milliseconds = (left + UA_DATETIME_MSEC - 1) / UA_DATETIME_MSEC;
    return static_cast<int>(std::clamp<UA_DateTime>(milliseconds, 0, housekeepingInterval));
}

void EngineClient::call(const void* request, const UA_DataType& requestType, void* response,
                        const UA_DataType& responseType) {
    forgetErrors();
    __UA_Client_Service(m_client, request, &requestType, response, &responseType);
}

void EngineClient::expectSubscription() {
    m_noSubscriptionAnswers = 0;
    config().outStandingPublishRequests = static_cast<UA_UInt16>(m_publishRequests);
}

/// The engine asks anew at once, thousands of times a second. Requests that waited when the last subscription
/// was deleted get this answer too; only one more than those shows that the server has lost one.
void EngineClient::noSubscriptionAnswered() {
    ++m_noSubscriptionAnswers;
    if (isWithoutSubscription()) {
        config().outStandingPublishRequests = 0;
    }
}

void EngineClient::closeSession(bool deleteSubscriptions, UA_UInt32 timeout) {
    UA_CloseSessionRequest request;
    UA_CloseSessionRequest_init(&request);
    request.deleteSubscriptions = deleteSubscriptions;
    request.requestHeader.timeoutHint = timeout;
    UA_CloseSessionResponse response;
    call(&request, UA_TYPES[UA_TYPES_CLOSESESSIONREQUEST], &response,
         UA_TYPES[UA_TYPES_CLOSESESSIONRESPONSE]);
    UA_CloseSessionResponse_clear(&response);
}

/// A server that comes back after we gave it up, or that refused us half-way, finds the request on its
/// socket.
void EngineClient::announceClose(bool deleteSubscriptions) {
    UA_SecureChannelState channel = UA_SECURECHANNELSTATE_CLOSED;
    UA_SessionState session = UA_SESSIONSTATE_CLOSED;
    UA_Client_getState(m_client, &channel, &session, nullptr);
    if (channel != UA_SECURECHANNELSTATE_OPEN || (session == UA_SESSIONSTATE_CLOSED && !reviveSession())) {
        return;
    }
    UA_CloseSessionRequest request;
    UA_CloseSessionRequest_init(&request);
    request.deleteSubscriptions = deleteSubscriptions;
    __UA_Client_AsyncService(
        m_client, &request, &UA_TYPES[UA_TYPES_CLOSESESSIONREQUEST],
        [](UA_Client*, void*, UA_UInt32, void*) {}, &UA_TYPES[UA_TYPES_CLOSESESSIONRESPONSE], nullptr,
        nullptr);
}

/// The engine drops a session that the server would not activate, and sends nothing more while its connect
/// counts as failed. Connecting on an open channel only clears the failure; activating without a user's
/// identity takes the session up and sends nothing, for the endpoint has no policy for that.
bool EngineClient::reviveSession() {
    if (UA_NodeId_isNull(&m_createdSession)) {
        return false;
    }
    m_quiet = true;
    UA_ExtensionObject_clear(&config().userIdentityToken);
    __UA_Client_connect(m_client, true);
    UA_Client_activateSessionAsync(m_client, m_createdSession, m_createdSessionNonce);
    m_quiet = false;
    return true;
}

void EngineClient::rememberSession() {
    UA_SessionState session = UA_SESSIONSTATE_CLOSED;
    UA_Client_getState(m_client, nullptr, &session, nullptr);
    if (session == UA_SESSIONSTATE_CREATED && UA_NodeId_isNull(&m_createdSession)) {
        UA_Client_getSessionAuthenticationToken(m_client, &m_createdSession, &m_createdSessionNonce);
    }
}

void EngineClient::close(bool deleteSubscriptions, UA_UInt32 timeout) {
    const bool usable = m_usable;
    m_usable = false;
    if (m_purpose == Purpose::Session) {
        if (usable) {
            closeSession(deleteSubscriptions, timeout);
        } else {
            announceClose(deleteSubscriptions);
        }
    }
    // The engine's own disconnect waits up to 100 ms for a socket that it has closed already.
    UA_Client_disconnectSecureChannelAsync(m_client);
    while (m_socket >= 0 && m_loop->state == UA_EVENTLOOPSTATE_STARTED) {
        iterate();
    }
}

void EngineClient::stateChanged(UA_Client* client, UA_SecureChannelState channel, UA_SessionState session,
                                UA_StatusCode connectStatus) {
    auto* self = static_cast<EngineClient*>(UA_Client_getContext(client));
    self->m_channelOpened = self->m_channelOpened || channel == UA_SECURECHANNELSTATE_OPEN;
    const bool usable = connectStatus == UA_STATUSCODE_GOOD && channel == UA_SECURECHANNELSTATE_OPEN &&
                        session == UA_SESSIONSTATE_ACTIVATED;
    if (usable == self->m_usable || self->m_abandoned || !self->m_stateHandler) {
        return;
    }
    self->m_usable = usable;
    self->m_opened = 0;
    self->m_stateHandler(usable, connectStatus);
}

UA_StatusCode EngineClient::openPinned(UA_ConnectionManager* manager, const UA_KeyValueMap*,
                                       void* application, void* context,
                                       UA_ConnectionManager_connectionCallback callback) {
    auto* self = static_cast<EngineClient*>(UA_Client_getContext(static_cast<UA_Client*>(application)));
    if (!self->m_usable && self->m_opened >= maxConnectionsPerConnect) {
        return UA_STATUSCODE_BADCONNECTIONREJECTED;
    }
    ++self->m_opened;
    self->m_networkCallback = callback;

    const UA_String url = self->config().endpointUrl;
    UA_UInt16 port = defaultPort;
    UA_String host = UA_STRING_NULL;
    UA_String path = UA_STRING_NULL;
    UA_parseEndpointUrl(&url, &host, &port, &path);
    if (port == 0) {
        port = defaultPort;
    }
    UA_String address = viewOf(self->m_address);
    UA_KeyValuePair pinned[2];
    pinned[0].key = UA_QUALIFIEDNAME(0, const_cast<char*>("port"));
    UA_Variant_setScalar(&pinned[0].value, &port, &UA_TYPES[UA_TYPES_UINT16]);
    pinned[1].key = UA_QUALIFIEDNAME(0, const_cast<char*>("address"));
    UA_Variant_setScalar(&pinned[1].value, &address, &UA_TYPES[UA_TYPES_STRING]);
    const UA_KeyValueMap map{2, pinned};
    return self->m_openConnection(manager, &map, application, context, &EngineClient::networkEvent);
}

void EngineClient::networkEvent(UA_ConnectionManager* manager, uintptr_t connectionId, void* application,
                                void** connectionContext, UA_ConnectionState state,
                                const UA_KeyValueMap* parameters, UA_ByteString message) {
    auto* self = static_cast<EngineClient*>(UA_Client_getContext(static_cast<UA_Client*>(application)));
    const int socket = static_cast<int>(connectionId);
    if (state == UA_CONNECTIONSTATE_OPENING) {
        self->m_socket = socket;
        self->m_established = false;
        boundUnacknowledgedData(socket);
        closeOnExec(socket);
        if (self->m_socketHandler) {
            self->m_socketHandler(socket);
        }
    } else if (state == UA_CONNECTIONSTATE_ESTABLISHED) {
        self->m_established = true;
        self->m_everEstablished = true;
        self->m_peerError = self->m_peerError || isErrorMessage(message);
    } else if (state == UA_CONNECTIONSTATE_CLOSING && self->m_socket == socket) {
        self->m_socket = -1;
        if (self->m_socketHandler) {
            self->m_socketHandler(-1);
        }
        self->cutWaitShort();
    }
    self->m_networkCallback(manager, connectionId, application, connectionContext, state, parameters,
                            message);
}

UA_StatusCode EngineClient::send(UA_ConnectionManager* manager, uintptr_t connectionId,
                                 const UA_KeyValueMap* parameters, UA_ByteString* message) {
    auto* self = static_cast<EngineClient*>(manager->eventSource.eventLoop->logger->context);
    if (!self->m_usable && self->m_client != nullptr) {
        self->rememberSession();
    }
    return self->m_send(manager, connectionId, parameters, message);
}

void EngineClient::log(void* self, UA_LogLevel level, UA_LogCategory category, const char* format,
                       va_list args) {
    auto* client = static_cast<EngineClient*>(self);
    if (tellsOfNoSubscription(format)) {
        client->noSubscriptionAnswered();
    } else if (!client->m_quiet) {
        writeEngineLog(level, category, format, args);
    }
}

/// The engine closes a socket just before it waits for the next event, up to a second, and looks at the
/// connection's state only behind that. With another delayed callback in its list it does not wait.
void EngineClient::cutWaitShort() {
    if (m_wakeUp.callback == nullptr) {
        m_wakeUp.callback = [](void* self, void*) {
            static_cast<EngineClient*>(self)->m_wakeUp.callback = nullptr;
        };
        m_wakeUp.application = this;
        m_loop->addDelayedCallback(m_loop, &m_wakeUp);
    }
}

void EngineClient::addDelayedCallback(UA_EventLoop* loop, UA_DelayedCallback* callback) {
    auto* self = static_cast<EngineClient*>(loop->logger->context);
    self->m_delayedWork = true;
    self->m_addDelayedCallback(loop, callback);
}

} // namespace UaClientSdk
