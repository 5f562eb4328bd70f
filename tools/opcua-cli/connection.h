#pragma once

#include "OpcUaClientInterface.h"
#include "failure.h"
#include "nodes/value.h"
#include "options.h"
#include "result_text.h"

#include <filesystem>
#include <string>

namespace opcua_cli {

/// Where the library keeps its files: all beside the program.
struct LibraryFiles {
    std::filesystem::path trace;
    std::filesystem::path configuration;
    std::filesystem::path certificates;
};

LibraryFiles libraryFiles();

/// What reading one value gave.
struct ReadResult {
    int resultCode = 0;
    Value value{}; ///< empty unless resultCode is 0
};

/// An open connection to one server; closed with the object.
class Connection {
public:
    /// Throws Failure (NoConnection).
    explicit Connection(const ConnectOptions& options);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    COpcUaClientInterface& client() { return m_client; }

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
    bool isAlive();
    ReadResult readText(OpcUaNode& record);

    COpcUaClientInterface m_client;
    Problem m_lastProblem;
};

} // namespace opcua_cli
