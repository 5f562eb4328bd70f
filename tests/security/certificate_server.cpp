#include "certificate_server.h"

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>

#include <open62541/plugin/log_stdout.h>
#include <open62541/plugin/pki_default.h>
#include <open62541/server_config_default.h>

namespace {

UA_ByteString view(const std::string& bytes) {
    return {bytes.size(), reinterpret_cast<UA_Byte*>(const_cast<char*>(bytes.data()))};
}

void require(UA_StatusCode status, const char* action) {
    if (status != UA_STATUSCODE_GOOD)
        throw std::runtime_error(std::string("cannot ") + action + ": " + UA_StatusCode_name(status));
}

/// The stack puts a certificate of its own into an endpoint only where it has one for the endpoint's policy.
void announce(UA_ServerConfig& config, const std::string& certificate) {
    auto* endpoints = static_cast<UA_EndpointDescription*>(
        UA_realloc(config.endpoints, 2 * sizeof(UA_EndpointDescription)));
    if (endpoints == nullptr)
        throw std::bad_alloc();
    config.endpoints = endpoints;
    const UA_ByteString bytes = view(certificate);
    UA_ByteString_clear(&endpoints[0].serverCertificate);
    require(UA_ByteString_copy(&bytes, &endpoints[0].serverCertificate), "announce the certificate");
    require(UA_EndpointDescription_copy(&endpoints[0], &endpoints[1]), "add an endpoint");
    config.endpointsSize = 2;
    UA_String_clear(&endpoints[1].securityPolicyUri);
    endpoints[1].securityPolicyUri =
        UA_STRING_ALLOC("http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256");
    endpoints[1].securityMode = UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;
}

std::string listeningUrl(const UA_ApplicationDescription& application) {
    for (std::size_t index = 0; index < application.discoveryUrlsSize; ++index) {
        UA_String host = UA_STRING_NULL;
        UA_String path = UA_STRING_NULL;
        UA_UInt16 port = 0;
        if (UA_parseEndpointUrl(&application.discoveryUrls[index], &host, &port, &path) ==
                UA_STATUSCODE_GOOD &&
            port != 0)
            return "opc.tcp://127.0.0.1:" + std::to_string(port);
    }
    throw std::runtime_error("the stack did not tell its port");
}

} // namespace

StandInServer::~StandInServer() {
    stop();
    if (m_server != nullptr) {
        UA_Server_run_shutdown(m_server);
        UA_Server_delete(m_server);
    }
}

UA_ServerConfig StandInServer::makeConfig(const std::string& applicationUri) {
    UA_ServerConfig config{};
    config.logging = UA_Log_Stdout_new(UA_LOGLEVEL_FATAL);
    require(UA_ServerConfig_setMinimal(&config, 0, nullptr), "configure the server");
    UA_String_clear(&config.serverUrls[0]);
    config.serverUrls[0] = UA_STRING_ALLOC("opc.tcp://127.0.0.1:0");
    UA_String_clear(&config.applicationDescription.applicationUri);
    config.applicationDescription.applicationUri = UA_STRING_ALLOC(applicationUri.c_str());
    return config;
}

void StandInServer::run(UA_ServerConfig& config) {
    m_server = UA_Server_newWithConfig(&config);
    if (m_server == nullptr)
        throw std::bad_alloc();
    require(UA_Server_run_startup(m_server), "start the server");
    m_url = listeningUrl(UA_Server_getConfig(m_server)->applicationDescription);
    start();
}

void StandInServer::start() {
    m_stop = false;
    m_thread = std::thread([this] {
        while (!m_stop)
            UA_Server_run_iterate(m_server, true);
    });
}

void StandInServer::stop() {
    m_stop = true;
    if (m_thread.joinable())
        m_thread.join();
}

void StandInServer::between(const std::function<void()>& action) {
    stop();
    action();
    start();
}

CertificateServer::CertificateServer(const std::string& certificate, const std::string& applicationUri) {
    UA_ServerConfig config = makeConfig(applicationUri);
    announce(config, certificate);
    run(config);
}

TwoFacedServer::TwoFacedServer(const std::string& certificate, const std::string& privateKey,
                               const std::string& applicationUri) {
    UA_ServerConfig config = makeConfig(applicationUri);
    const UA_ByteString certificateBytes = view(certificate);
    const UA_ByteString keyBytes = view(privateKey);
    require(UA_ServerConfig_addSecurityPolicyBasic256Sha256(&config, &certificateBytes, &keyBytes),
            "add a policy");
    require(UA_ServerConfig_addEndpoint(&config, config.securityPolicies[1].policyUri,
                                        UA_MESSAGESECURITYMODE_SIGNANDENCRYPT),
            "add an endpoint");
    UA_CertificateVerification_AcceptAll(&config.secureChannelPKI);
    UA_CertificateVerification_AcceptAll(&config.sessionPKI);
    run(config);
}

void TwoFacedServer::show(const std::string& certificate) {
    between([&] {
        UA_ByteString& shown = UA_Server_getConfig(m_server)->securityPolicies[1].localCertificate;
        UA_ByteString_clear(&shown);
        const UA_ByteString bytes = view(certificate);
        require(UA_ByteString_copy(&bytes, &shown), "show another certificate");
    });
}
