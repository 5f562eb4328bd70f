#pragma once

#include <cstdint>
#include <string>

#include "support/outage_proxy.h"
#include "support/server_process.h"

namespace soak {

/// The network with outages, in a process of its own: what it holds is not to count as the library's.
class Network {
public:
    /// Leads to a server on this port of the loopback address.
    explicit Network(std::uint16_t targetPort);

    const std::string& url() const { return m_process.url(); }
    void fallSilent(test_support::OutageProxy::Silence kind) const;
    void speak() const;

private:
    test_support::ServerProcess m_process;
};

/// What that process runs, called with networkOption and the server's port: until it is ended.
int runNetwork(std::uint16_t targetPort);
constexpr const char* networkOption = "--network";

} // namespace soak
