#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "changes/change_latency.h"
#include "changes/idle_clients.h"
#include "support/server_process.h"

namespace bench {

/// From one change of a tag to the next.
constexpr std::chrono::milliseconds tagChangeInterval(500);

/// What all operations of a run share: the server, and how much work a run makes.
class Setting {
public:
    /// A smoke run only shows that everything runs: its figures say nothing.
    explicit Setting(bool smoke);

    const std::string& url() const { return m_server.url(); }
    std::uint16_t port() const { return m_server.port(); }
    pid_t server() const { return m_server.pid(); }
    /// Servers of their own, started when the first row asks for them: one with secure endpoints, one with
    /// tags, of which the first half changes all the time, and one with as many tags that looks at its items
    /// once a minute. A look at ten thousand items takes longer than a client needs to add them: at the usual
    /// interval luck decides into whose time it falls.
    const test_support::PlantServer& securedServer();
    const test_support::PlantServer& tagServer();
    const test_support::PlantServer& restingServer();
    int tagCount() const { return either(20000, 80); }
    /// `full` in a full run, `smoke` in a smoke run.
    template <typename Value>
    Value either(Value full, Value smoke) const {
        return m_smoke ? smoke : full;
    }
    /// Each is measured once for all rows that show a part of it.
    const IdleClients& idleClients();
    const ChangeLatencies& changeLatencies();

private:
    bool m_smoke;
    test_support::PlantServer m_server;
    std::optional<test_support::PlantServer> m_securedServer;
    std::optional<test_support::PlantServer> m_tagServer;
    std::optional<test_support::PlantServer> m_restingServer;
    std::optional<IdleClients> m_idleClients;
    std::optional<ChangeLatencies> m_changeLatencies;
};

} // namespace bench
