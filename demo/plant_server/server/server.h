#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <string>

#include "options.h"
#include "plant/plant.h"
#include "plant/simulation.h"
#include "plant/tags.h"
#include "server/clients.h"
#include "server/connections.h"
#include "server/log.h"
#include "test_rack/test_rack.h"

namespace plant_server {

/// The whole plant behind one OPC UA server.
class Server {
public:
    /// Builds the address space. Throws std::runtime_error with the reason when that, or listening, fails.
    explicit Server(const Options& options);
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Serves until a signal or a client ends it. `ready` gets the URL as soon as clients can connect.
    void run(const std::function<void(const std::string& url)>& ready);

private:
    struct Deleter {
        void operator()(UA_Server* server) const { UA_Server_delete(server); }
    };

    UA_ServerConfig configuration();
    void addNamespaces();
    void addPlant(const Branch& objects);
    void addTestRack(const Branch& objects);
    void stopOnSignals();
    void shutDownIn(std::chrono::seconds delay);
    UA_UInt16 listeningPort() const;

    static void stop(UA_Server*, void* self);

    Options m_options;
    Log m_log;
    Clients m_clients;
    std::unique_ptr<Connections> m_connections;
    // What the nodes of the server point to goes after it.
    std::list<Line> m_lines;
    std::unique_ptr<Permissions> m_permissions;
    std::unique_ptr<Tags> m_tags;
    std::unique_ptr<Simulation> m_simulation;
    std::unique_ptr<Controls> m_controls;
    std::unique_ptr<Diagnostics> m_diagnostics;
    std::unique_ptr<UA_Server, Deleter> m_server;
    bool m_running = true;
};

} // namespace plant_server
