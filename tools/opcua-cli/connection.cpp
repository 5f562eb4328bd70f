#include "connection.h"

#include "interrupt.h"
#include "result_text.h"
#include "security/names.h"
#include "security/user_certificate.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace opcua_cli {
namespace {

constexpr int connected = 1;
constexpr int connectionLost = 3;

template <std::size_t Size>
void setField(char (&field)[Size], const std::string& text) {
    text.copy(field, Size - 1);
}

_OpcUaClientConfig configFor(const ConnectOptions& options, const Security& security) {
    _OpcUaClientConfig config{};
    config.timeout = options.timeoutMilliseconds;
    config.securityPolicy = security.policy;
    config.securityMode = security.mode;
    config.userIdentity = security.identity;
    setField(config.endpointUrl, options.url);
    setField(config.userName, security.user);
    if (security.identity == IdentityUserName)
        setField(config.password, passwordFor(options.security));
    return config;
}

} // namespace

Connection::Connection(const ConnectOptions& options, DataChangeHandler onDataChange)
    : m_security(securityFor(options.security)), m_config(configFor(options, m_security)),
      m_trust(options.security.trust, options.url), m_callback(m_trust, std::move(onDataChange)) {
    m_client.OpcUaInit(static_cast<_OpcUaClientTraceLevel>(options.traceLevel));
    m_client.installOpcUaCallBack(&m_callback);
    open();
}

Connection::~Connection() {
    m_client.OpcUaDisConnect();
}

void Connection::open() {
    std::optional<PlacedUserCertificate> userCertificate;
    if (m_security.identity == IdentityCertificate)
        userCertificate.emplace(m_security.userCertificate);
    const int code = m_client.OpcUaConnect(m_config);
    throwIfInterrupted();
    if (code != 0)
        throw Failure(ExitCode::NoConnection, connectProblem(code));
}

Problem Connection::connectProblem(int resultCode) {
    Problem problem = problemOfConnect(resultCode, m_client, m_security.isWanted());
    if (const std::optional<Problem>& refusal = m_trust.refusal()) {
        problem.explanation = refusal->explanation;
        problem.advice = refusal->advice;
    }
    problem.explanation += ": " + std::string(m_config.endpointUrl);
    return problem;
}

void Connection::throwIfLost(int resultCode) {
    if (resultCode == 0)
        return;
    // Taken now: finding out whether the connection stands may replace the library's message.
    m_lastProblem = problemFor(resultCode, m_client);
    if (resultCode != connectionLost && isAlive())
        return;
    Problem problem = problemFor(connectionLost, m_client);
    problem.resultCode = resultCode;
    problem.storedMessage = m_lastProblem.storedMessage;
    throw Failure(ExitCode::NoConnection, std::move(problem));
}

/// The status is reported by a thread of the library and may come after the operation that failed; reading
/// the server's state, which every server has, is refused as soon as the connection is gone.
bool Connection::isAlive() {
    constexpr const char* serverStateId = "i=2259";
    OpcUaNode record{};
    setField(record.nodeId, serverStateId);
    record.dataType = OpcUaDataType_Int32;
    std::int32_t state = 0;
    int size = sizeof state;
    return m_client.OpcUaGetValue(&record, &state, size) != connectionLost &&
           m_client.OpcUaGetConnectStatus() == connected;
}

std::shared_ptr<Connection> connectionFor(const ConnectOptions& options) {
    return options.session ? options.session : std::make_shared<Connection>(options);
}

} // namespace opcua_cli
