#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "OpcUaClientInterface.h"
#include "failure.h"
#include "files/trace.h"
#include "options.h"
#include "security/trust.h"

namespace opcua_cli {

/// An open connection to one server; closed with the object.
class Connection {
public:
    /// Called on a thread of the library, one change at a time.
    using DataChangeHandler = std::function<void(const _OpcUaDataChangeMsg&)>;

    /// Throws Failure: Usage for security options that make no sense, before anything is sent; NoConnection,
    /// with --wait only when that is over or of no use.
    explicit Connection(const ConnectOptions& options, DataChangeHandler onDataChange = {});
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    COpcUaClientInterface& client() { return m_client; }
    const Security& security() const { return m_security; }

    /// Connects anew, with what the constructor was given; a certificate that was accepted once is accepted
    /// again. Throws Failure (NoConnection).
    void reconnect();

    /// Takes the result code of the operation just made. Throws Failure (NoConnection) when it failed because
    /// the connection is gone.
    void throwIfLost(int resultCode);
    /// The same for an operation on many nodes, once for all that failed: it asks the server.
    void throwIfLost(int resultCode, const std::vector<OpcUaNode>& records);

    /// Why the last operation failed that did.
    Problem lastProblem() const { return problemOf({}); }
    /// The same for one of its nodes.
    Problem problemOf(const std::string& nodeId) const;
    /// Why the browse of a node just failed: asks the server whether there is one.
    Problem problemOfBrowse(const std::string& nodeId);

private:
    /// What the library asks and tells the program.
    class Callback final : public COpcUaClientInterface::OpcUaCallBack {
    public:
        Callback(TrustDecision& trust, DataChangeHandler onDataChange)
            : m_trust(trust), m_onDataChange(std::move(onDataChange)) {}
        void OpcUaDataChange(_OpcUaDataChangeMsg message) override {
            if (m_onDataChange)
                m_onDataChange(message);
        }
        int OpcUaTrustServerCertificate(_OpcUaCertificateMsg certificate) override {
            return m_trust.answer(certificate);
        }

    private:
        TrustDecision& m_trust;
        DataChangeHandler m_onDataChange;
    };

    void open();
    Problem connectProblem(int resultCode);
    int readNumber(const std::string& nodeId);
    bool isAlive();

    Security m_security;
    _OpcUaClientConfig m_config{};
    // Outlive the client, which calls them.
    TrustDecision m_trust;
    Callback m_callback;
    Trace m_trace;
    COpcUaClientInterface m_client;
    Problem m_lastProblem;
    std::vector<std::string> m_lastTexts; ///< what the trace told with it
};

/// The shell's connection, or one of the command's own. Throws Failure as Connection.
std::shared_ptr<Connection> connectionFor(const ConnectOptions& options);

} // namespace opcua_cli
