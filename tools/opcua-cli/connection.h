#pragma once

#include "OpcUaClientInterface.h"
#include "callback.h"
#include "failure.h"
#include "nodes/value_buffer.h"
#include "options.h"
#include "result_text.h"

#include <string>

namespace opcua_cli {

/// An open connection to one server; closed with the object.
class Connection {
public:
    /// Throws Failure: Usage for security options that make no sense, before anything is sent; NoConnection.
    explicit Connection(const ConnectOptions& options, DataChangeHandler onDataChange = {});
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    COpcUaClientInterface& client() { return m_client; }
    const Security& security() const { return m_security; }

    /// Connects anew, with what the constructor was given; a certificate that was accepted once is accepted
    /// again. Throws Failure (NoConnection).
    void reconnect() { open(); }

    /// Takes the result code of the operation just made. Throws Failure (NoConnection) when it failed because
    /// the connection is gone.
    void throwIfLost(int resultCode);

    /// Why the last operation failed that did.
    const Problem& lastProblem() const { return m_lastProblem; }

    /// Reads a scalar as the given type; OpcUaDataType_Null gives the library's text form of any value, which
    /// is empty when it has none. Throws as throwIfLost().
    ReadResult read(const std::string& nodeId, _OpcUaDataType type);

    /// Writes a scalar and gives the result code. Throws as throwIfLost().
    int write(const std::string& nodeId, const Value& value);

private:
    void open();
    Problem connectProblem(int resultCode);
    bool isAlive();

    Security m_security;
    _OpcUaClientConfig m_config{};
    // Outlive the client, which calls them.
    TrustDecision m_trust;
    Callback m_callback;
    COpcUaClientInterface m_client;
    Problem m_lastProblem;
};

} // namespace opcua_cli
