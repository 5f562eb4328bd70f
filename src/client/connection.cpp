#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "client/opcua_client.h"
#include "client/text_field.h"
#include "security/application.h"
#include "security/connect_security.h"
#include "subscription/callback.h"
#include "subscription/delivery_gate.h"

using namespace UaClientSdk;

namespace {

constexpr const char* defaultSessionName = "Kestrova@RK4400";

SessionConnectInfo connectInfoFor(const _OpcUaClientConfig& config) {
    SessionConnectInfo info;
    info.applicationUri = application::uri;
    info.applicationName = application::name;
    info.productUri = application::productUri;
    info.sessionName = toUaString(fieldText(config.sessionName));
    if (info.sessionName.isEmpty())
        info.sessionName = defaultSessionName;
    info.connectTimeout = config.timeout;
    info.automaticReconnect = false;
    return info;
}

/// Reads the file in this directory, which both of its tokens stand for. Null is the root directory.
void load(Configuration& configuration, const char* directory) {
    configuration.applicationPath = directory;
    configuration.loadConfiguration(UaString("%1/OpcUaClientConfig.ini").arg(UaString(directory)));
    configuration.applicationPath = nullptr;
}

} // namespace

int COpcUaClient::OpcUaConnect(_OpcUaClientConfig& config) {
    // The callback that runs may be about to take the mutex, so it is waited for first.
    std::optional<DeliveryGate::Closure> silence(std::in_place, m_callback->deliveries);
    const MutexLock lock(m_session.mutex);
    if (m_session.get())
        this->OpcUaDisConnect();
    // A disconnect that failed has left its session behind.
    SessionEnd(m_session, *m_callback).release();
    silence.reset();
    // Until it is open the session is nobody else's.
    auto session = std::make_shared<UaSession>();
    const std::unique_ptr<char[]> directory(getAppPath());
    load(m_configuration, directory.get());

    const UaString url = toUaString(fieldText(config.endpointUrl));
    SessionConnectInfo connectInfo = connectInfoFor(config);
    connectInfo.requestsAhead = m_session.requestsAhead(url.text());
    SessionSecurityInfo securityInfo;
    if (asksForSecurity(config)) {
        if (const int code = prepareSecurity(config, url, m_configuration, m_callback->applicationCallback,
                                             securityInfo, m_error)) {
            return code;
        }
    }
    if (const int code = setUserIdentity(config, m_configuration, securityInfo, m_error))
        return code;
    if (session->connect(url, connectInfo, securityInfo, m_callback.get()).isBad()) {
        traceUserCertificate(config, m_configuration);
        return m_error.fail(result::connectFailed);
    }
    m_session.begin(std::move(session), url.text());
    return result::success;
}

int COpcUaClient::OpcUaDisConnect() {
    SessionEnd end(m_session, *m_callback);
    const auto session = m_session.get();
    if (!session)
        return m_error.fail(result::notConnected);
    ServiceSettings settings;
    if (session->disconnect(settings, true).isBad())
        return m_error.fail(result::disconnectFailed);
    end.release();
    return result::success;
}
