#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace bench {

/// What one connected client costs that does nothing.
struct IdleCost {
    double bytes = 0; ///< growth of the process's resident memory
    double cpuSecondsPerMinute = 0;
};

struct IdleClients {
    IdleCost raw;
    IdleCost facade;
};

/// Measures in processes of their own, both kinds at the same time.
IdleClients measureIdleClients(const std::string& url, int clients, std::chrono::milliseconds duration);

/// The process of one kind: arguments are the kind, the URL, the number of clients and the milliseconds.
/// Writes its cost as one line. Returns the exit code.
int runIdleClients(const std::vector<std::string>& arguments);

/// First argument of such a process.
constexpr const char* idleClientsOption = "--idle-clients";

} // namespace bench
