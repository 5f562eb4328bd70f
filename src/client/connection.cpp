#include <atomic>
#include <memory>
#include <string>
#include <utility>

#include "client/callback.h"
#include "client/mutex_lock.h"
#include "client/opcua_client.h"
#include "client/text_field.h"
#include "security/configuration.h"
#include "security/password.h"
#include "security/security_policy.h"
#include "uabase/trace.h"
#include "uaclient/discovery.h"
#include "uapki/security_policy.h"

using namespace UaClientSdk;

namespace {

constexpr const char* defaultSessionName = "Kestrova@RK4400";

// Kinds of user identity; any other is anonymous.
constexpr int byPassword = 1;
constexpr int byCertificate = 2;

SessionConnectInfo connectInfoFor(const _OpcUaClientConfig& config) {
    SessionConnectInfo info;
    info.applicationUri = "urn:HMI:Kestrova::RK4400";
    info.applicationName = "HMI_RK4400";
    info.productUri = "urn:Kestrova::RK4400";
    info.sessionName = toUaString(fieldText(config.sessionName));
    if (info.sessionName.isEmpty()) {
        info.sessionName = defaultSessionName;
    }
    info.connectTimeout = config.timeout;
    info.automaticReconnect = false;
    return info;
}

bool asksForSecurity(const _OpcUaClientConfig& config) {
    return config.securityPolicy != 0 || config.securityMode != 0 || config.userIdentity != 0;
}

} // namespace

/// The right to end the session: one has it at a time, and no callback runs meanwhile but the caller's own.
///
/// The callback that runs may itself be about to end the session, so it is waited for first. Once the mutex
/// is taken no callback is running that could wait for it.
class COpcUaClient::SessionEnd {
public:
    explicit SessionEnd(COpcUaClient& client)
        : m_lock(client.m_sessionMutex, std::defer_lock), m_closure(client.m_callback->deliveries) {
        m_lock.lock();
    }

private:
    std::unique_lock<std::mutex> m_lock;
    const DeliveryGate::Closure m_closure; ///< is over before the next session can begin
};

int COpcUaClient::OpcUaConnect(_OpcUaClientConfig& config) {
    const MutexLock lock(m_mutex);
    if (session()) {
        this->OpcUaDisConnect();
    }
    // A disconnect that failed has left its session behind.
    releaseSession();
    // Until it is open the session is nobody else's.
    auto newSession = std::make_shared<UaSession>();
    loadConfiguration();
    const int code = openSession(config, *newSession);
    if (code == result::success) {
        const std::lock_guard<std::mutex> begin(m_sessionMutex);
        m_sessionUrl = fieldText(config.endpointUrl);
        std::atomic_store(&m_session, std::move(newSession));
    }
    return code;
}

int COpcUaClient::OpcUaDisConnect() {
    const SessionEnd end(*this);
    const auto current = session();
    if (!current) {
        return fail(result::notConnected);
    }
    ServiceSettings settings;
    if (current->disconnect(settings, true).isBad()) {
        return fail(result::disconnectFailed);
    }
    releaseSession(end);
    return result::success;
}

void COpcUaClient::loadConfiguration() {
    const std::unique_ptr<char[]> directory(getAppPath());
    m_configuration->applicationPath = directory.get();
    m_configuration->loadConfiguration(
        UaString("%1/OpcUaClientConfig.ini").arg(UaString(m_configuration->applicationPath)));
    m_configuration->applicationPath = nullptr;
}

unsigned int COpcUaClient::requestsAhead(const std::string& url) {
    const std::lock_guard<std::mutex> lock(m_sessionMutex);
    if (m_carefulUrls.count(url) == 0) {
        return SessionConnectInfo::defaultRequestsAhead;
    }
    UaTrace::write(UaTrace::Warnings, "connect",
                   "%s gets one request at a time: something was lost with several on their way",
                   url.c_str());
    return 1;
}

int COpcUaClient::openSession(_OpcUaClientConfig& config, UaSession& session) {
    SessionConnectInfo connectInfo = connectInfoFor(config);
    connectInfo.requestsAhead = requestsAhead(std::string(fieldText(config.endpointUrl)));
    const UaString url = toUaString(fieldText(config.endpointUrl));
    SessionSecurityInfo securityInfo;
    if (asksForSecurity(config)) {
        const int code = prepareSecurity(config, url, securityInfo);
        if (code != result::success) {
            return code;
        }
    }
    if (const int code = setUserIdentity(config, securityInfo)) {
        return code;
    }
    if (session.connect(url, connectInfo, securityInfo, m_callback.get()).isBad()) {
        if (config.userIdentity == byCertificate) {
            UaTrace::write(UaTrace::Errors, "security", "the user's certificate and key came from %s and %s",
                           m_configuration->UserCertificate.toUtf8(),
                           m_configuration->UserPrivateKey.toUtf8());
        }
        return fail(result::connectFailed);
    }
    return result::success;
}

int COpcUaClient::prepareSecurity(_OpcUaClientConfig& config, const UaString& url,
                                  SessionSecurityInfo& securityInfo) {
    if (const int code = m_configuration->setupSecurity(securityInfo)) {
        return fail(code, result::clientCertificateText);
    }
    UaEndpointDescriptions endpoints;
    ServiceSettings settings;
    const UaStatus queried = UaDiscovery().getEndpoints(settings, url, securityInfo, endpoints);
    if (queried.isNotGood() || endpoints.length() == 0) {
        UaTrace::write(UaTrace::Errors, "connect", "%s told no endpoint: %s", url.toUtf8(), queried.name());
        return result::getEndpointsFailed;
    }
    // The first endpoint stands for the server: its certificate is the one that is decided on, whatever its
    // policy.
    SetEndpointMsg(config, endpoints[0].serverCertificate, securityInfo);
    if (const int code = checkServerCertificateTrust(securityInfo)) {
        return fail(code, result::serverCertificateText);
    }
    return result::success;
}

int COpcUaClient::setUserIdentity(const _OpcUaClientConfig& config, SessionSecurityInfo& securityInfo) {
    const UaString userName = toUaString(fieldText(config.userName));
    if (config.userIdentity == byPassword) {
        securityInfo.setUserPasswordUserIdentity(userName, Password(config).text());
    } else if (config.userIdentity == byCertificate) {
        m_configuration->userCertificateName = userName;
        if (const int code = m_configuration->loadUserCertificate()) {
            return fail(code, result::userCertificateText);
        }
        securityInfo.setCertificateUserIdentity(m_configuration->userCertificateData,
                                                m_configuration->userPrivateKeyData);
        m_configuration->userPrivateKeyData.wipe();
    } else {
        securityInfo.setAnonymousUserIdentity();
    }
    return result::success;
}

void COpcUaClient::SetEndpointMsg(_OpcUaClientConfig& config, _OpcUa_ByteString serverCertificate,
                                  SessionSecurityInfo& securityInfo) {
    securityInfo.serverCertificate = UaByteString(serverCertificate);
    if (const UaPkiSecurityPolicy* policy = UaPkiSecurityPolicy::numbered(config.securityPolicy)) {
        securityInfo.securityPolicyUri = UaString(policy->uri);
    }
    if (config.securityMode >= 0 && config.securityMode <= 2) {
        securityInfo.messageSecurityMode = messageSecurityMode(config.securityMode);
    }
}

void COpcUaClient::releaseSession() {
    releaseSession(SessionEnd(*this));
}

void COpcUaClient::releaseSession(const SessionEnd&) {
    if (const auto ended = std::atomic_exchange(&m_session, std::shared_ptr<UaSession>())) {
        if (ended->wasLostAhead()) {
            m_carefulUrls.insert(m_sessionUrl);
        }
    }
    if (m_subscription) {
        m_callback->forgetMonitoredItems();
        m_subscription = nullptr;
    }
}
