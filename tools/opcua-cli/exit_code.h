#pragma once

namespace opcua_cli {

/// How the program ends. The numbers are documented in README.md and --help: scripts count on them.
enum class ExitCode : int {
    Success = 0,
    Failed = 1,       ///< the server refused the operation, or something failed for some of the nodes
    Usage = 2,        ///< wrong arguments; nothing was sent
    NoConnection = 3, ///< the server cannot be reached, or the connection was lost
    OutputFailed = 4, ///< the result could not be written
    Internal = 70,
    HungUp = 129,       ///< as a shell reports SIGHUP
    Interrupted = 130,  ///< as a shell reports SIGINT
    OutputClosed = 141, ///< as a shell reports SIGPIPE
    Terminated = 143    ///< as a shell reports SIGTERM
};

} // namespace opcua_cli
