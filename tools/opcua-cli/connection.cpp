#include "connection.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "OpcUaHelpers.h"
#include "interrupt.h"
#include "reasons.h"
#include "result_text.h"
#include "security/user_certificate.h"
#include "wait.h"

namespace opcua_cli {
namespace {

constexpr int connectionLost = 3;

_OpcUaClientConfig configFor(const ConnectOptions& options, const Security& security) {
    _OpcUaClientConfig config{};
    config.timeout = options.timeoutMilliseconds;
    config.securityPolicy = security.policy;
    config.securityMode = security.mode;
    config.userIdentity = security.identity;
    OpcUaSetField(config.endpointUrl, options.url);
    OpcUaSetField(config.userName, security.user);
    if (security.identity == OpcUaUserIdentity_UserName)
        OpcUaSetField(config.password, passwordFor(options.security));
    return config;
}

} // namespace

Connection::Connection(const ConnectOptions& options, DataChangeHandler onDataChange)
    : m_security(securityFor(options.security)), m_config(configFor(options, m_security)),
      m_trust(options.security.trust, options.url), m_callback(m_trust, std::move(onDataChange)) {
    m_trace.start(m_client, options);
    m_client.installOpcUaCallBack(&m_callback);
    attemptUntilThere(options.wait, [this] { open(); });
}

Connection::~Connection() {
    m_client.OpcUaDisConnect();
}

void Connection::reconnect() {
    m_trace.renew(m_client);
    open();
}

void Connection::open() {
    std::optional<PlacedUserCertificate> userCertificate;
    if (m_security.identity == OpcUaUserIdentity_Certificate)
        userCertificate.emplace(m_security.userCertificate);
    m_trace.newTexts();
    const int code = m_client.OpcUaConnect(m_config);
    throwIfInterrupted();
    if (code != 0)
        throw Failure(ExitCode::NoConnection, connectProblem(code));
}

Problem Connection::connectProblem(int resultCode) {
    constexpr int connectFailed = 1;
    constexpr int noEndpoints = 19;
    const std::vector<std::string> texts = m_trace.newTexts();
    Problem problem = problemFor(resultCode, m_client);
    if (resultCode == noEndpoints)
        problem.explanation = problemFor(connectFailed, m_client).explanation;
    explainConnect(problem, texts, m_config.endpointUrl);
    if (const std::optional<Problem> refusal = m_trust.refusal(certificateDefect(texts))) {
        problem.explanation = refusal->explanation;
        problem.advice = refusal->advice;
        problem.canPass = false;
    }
    problem.explanation += ": " + std::string(m_config.endpointUrl);
    return problem;
}

Problem Connection::problemOf(const std::string& nodeId) const {
    Problem problem = m_lastProblem;
    explainNode(problem, m_lastTexts, nodeId);
    return problem;
}

void Connection::throwIfLost(int resultCode) {
    if (resultCode == 0)
        return;
    // Taken now: finding out whether the connection stands may replace the library's message.
    m_lastProblem = problemFor(resultCode, m_client);
    m_lastTexts = m_trace.newTexts();
    if (resultCode != connectionLost && isAlive())
        return;
    Problem problem = problemFor(connectionLost, m_client);
    for (std::string& text : m_trace.newTexts())
        m_lastTexts.push_back(std::move(text));
    explainLoss(problem, m_lastTexts);
    problem.resultCode = resultCode;
    problem.storedMessage = m_lastProblem.storedMessage;
    throw Failure(ExitCode::NoConnection, std::move(problem));
}

void Connection::throwIfLost(int resultCode, const std::vector<OpcUaNode>& records) {
    const auto failed = std::find_if(records.begin(), records.end(),
                                     [](const OpcUaNode& record) { return record.result != 0; });
    throwIfLost(resultCode != 0 || failed == records.end() ? resultCode : failed->result);
}

/// The library's trace tells why a read failed, not why a browse did.
Problem Connection::problemOfBrowse(const std::string& nodeId) {
    Problem problem = lastProblem();
    readNumber(nodeId);
    for (const std::string& text : m_trace.newTexts())
        if (text.find("BadNodeId") != std::string::npos)
            explainNode(problem, {text}, nodeId);
    problem.explanation += ": " + nodeId;
    return problem;
}

int Connection::readNumber(const std::string& nodeId) {
    OpcUaNode record = OpcUaMakeNode(nodeId, OpcUaDataType_Int32);
    std::int32_t number = 0;
    int size = sizeof number;
    return m_client.OpcUaGetValue(&record, &number, size);
}

/// The status is reported by a thread of the library and may come after the operation that failed; reading
/// the server's state, which every server has, is refused as soon as the connection is gone.
bool Connection::isAlive() {
    constexpr const char* serverStateId = "i=2259";
    return readNumber(serverStateId) != connectionLost &&
           m_client.OpcUaGetConnectStatus() == OpcUaConnectStatus_Connected;
}

std::shared_ptr<Connection> connectionFor(const ConnectOptions& options) {
    return options.session ? options.session : std::make_shared<Connection>(options);
}

} // namespace opcua_cli
