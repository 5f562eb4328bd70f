#pragma once

#include "idle_clients.h"
#include "support/server_process.h"

#include <optional>
#include <string>

namespace bench {

/// What all operations of a run share: the server, and how much work a run makes.
class Setting {
public:
    /// A smoke run only shows that everything runs: its figures say nothing.
    explicit Setting(bool smoke);

    const std::string& url() const { return m_server.url(); }
    pid_t server() const { return m_server.pid(); }
    /// `full` in a full run, `smoke` in a smoke run.
    template <typename Value>
    Value either(Value full, Value smoke) const {
        return m_smoke ? smoke : full;
    }
    /// Measured once for all rows that show a part of it.
    const IdleClients& idleClients();

private:
    bool m_smoke;
    test_support::PlantServer m_server;
    std::optional<IdleClients> m_idleClients;
};

} // namespace bench
