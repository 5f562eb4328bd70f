#include "raw/raw_connection.h"

#include <new>
#include <string>

#include <open62541/client_config_default.h>
#include <open62541/plugin/log_stdout.h>
#include <open62541/plugin/pki_default.h>

#include "raw/raw_service.h"

namespace bench {
namespace {

UA_SecureChannelState channelState(UA_Client* client) {
    UA_SecureChannelState channel = UA_SECURECHANNELSTATE_CLOSED;
    UA_Client_getState(client, &channel, nullptr, nullptr);
    return channel;
}

void setTrustList(UA_CertificateVerification& verification, const std::string& trustedServer) {
    if (trustedServer.empty())
        return;
    const UA_ByteString trusted = raw::view(trustedServer);
    raw::require(UA_CertificateVerification_Trustlist(&verification, &trusted, 1, nullptr, 0, nullptr, 0),
                 "trust list");
}

} // namespace

UA_ClientConfig rawConfiguration() {
    UA_ClientConfig config{};
    config.logging = UA_Log_Stdout_new(UA_LOGLEVEL_FATAL);
    config.timeout = raw::timeoutMilliseconds;
    config.noReconnect = true;
    config.noNewSession = true;
    config.connectivityCheckInterval = 5000;
    return config;
}

RawConnection::RawConnection(UA_ClientConfig& config, const std::string& url, Purpose purpose,
                             const std::string& trustedServer)
    : m_purpose(purpose) {
    raw::require(UA_ClientConfig_setDefault(&config), "configuration");
    m_client = UA_Client_newWithConfig(&config);
    if (m_client == nullptr)
        throw std::bad_alloc();
    try {
        // Up to 1.4.11 the engine keeps a pointer to this: it is set where it stays.
        setTrustList(UA_Client_getConfig(m_client)->certificateVerification, trustedServer);
        open(url);
    } catch (...) {
        release();
        throw;
    }
}

RawConnection::~RawConnection() {
    close();
    release();
}

void RawConnection::open(const std::string& url) {
    if (m_purpose == Purpose::Session)
        raw::require(UA_Client_connectAsync(m_client, url.c_str()), "connect");
    else
        raw::require(UA_Client_connectSecureChannelAsync(m_client, url.c_str()), "connect");
    while (!isOpen())
        raw::require(UA_Client_run_iterate(m_client, raw::timeoutMilliseconds), "connect");
}

bool RawConnection::isOpen() const {
    UA_SecureChannelState channel = UA_SECURECHANNELSTATE_CLOSED;
    UA_SessionState session = UA_SESSIONSTATE_CLOSED;
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    UA_Client_getState(m_client, &channel, &session, &status);
    raw::require(status, "connect");
    return channel == UA_SECURECHANNELSTATE_OPEN &&
           (m_purpose == Purpose::Query || session == UA_SESSIONSTATE_ACTIVATED);
}

void RawConnection::close() {
    if (m_purpose == Purpose::Session && channelState(m_client) == UA_SECURECHANNELSTATE_OPEN) {
        UA_CloseSessionRequest request;
        UA_CloseSessionRequest_init(&request);
        request.deleteSubscriptions = true;
        UA_CloseSessionResponse response;
        __UA_Client_Service(m_client, &request, &UA_TYPES[UA_TYPES_CLOSESESSIONREQUEST], &response,
                            &UA_TYPES[UA_TYPES_CLOSESESSIONRESPONSE]);
        UA_CloseSessionResponse_clear(&response);
    }
    UA_Client_disconnectSecureChannelAsync(m_client);
    while (channelState(m_client) != UA_SECURECHANNELSTATE_CLOSED)
        UA_Client_run_iterate(m_client, 0);
}

void RawConnection::release() {
    UA_EventLoop* const loop = UA_Client_getConfig(m_client)->eventLoop;
    if (loop->state == UA_EVENTLOOPSTATE_STARTED)
        loop->stop(loop);
    while (loop->state == UA_EVENTLOOPSTATE_STOPPING)
        loop->run(loop, 0);
    UA_Client_delete(m_client);
}

} // namespace bench
