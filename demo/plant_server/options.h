#pragma once

#include <optional>
#include <string>

#include "plant/tags.h"
#include "server/clients.h"
#include "server/security.h"

namespace plant_server {

struct Options {
    UA_UInt16 port = 4840;
    std::string bindAddress = "127.0.0.1";
    std::string host; ///< the bind address when empty
    UA_UInt32 pageSize = 0;
    UA_UInt32 delayMs = 0;
    UA_UInt32 maxNodesPerRead = 0;
    UA_UInt32 maxNodesPerWrite = 0;
    UA_UInt32 maxNodesPerBrowse = 0;
    UA_UInt32 maxItemsPerMonitorCall = 0;
    UA_UInt32 maxItems = 0;
    UA_UInt32 maxLifetime = 15000;
    double minSamplingMs = 5;
    UA_UInt16 maxSessions = 1000;
    TagOptions tags;
    LoginOptions logins;
    SecurityOptions security;
    bool insecurePasswords = false;
    unsigned seed = 1;
    double intervalMs = 100;
    bool dieWithParent = false;
    bool verbose = false;
};

/// What the command line asks for, or the exit code with which the program is to end: 0 after --help, 2 after
/// a bad option, which is explained on standard error.
struct ParsedOptions {
    Options options;
    std::optional<int> exitCode;
};
ParsedOptions parseOptions(int argc, char** argv);

} // namespace plant_server
