#include <functional>

#include "test_rack/test_rack.h"

namespace plant_server {
namespace {

const UA_NodeId subscriptionCount =
    UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERDIAGNOSTICS_SERVERDIAGNOSTICSSUMMARY_CURRENTSUBSCRIPTIONCOUNT);

} // namespace

Diagnostics::Diagnostics(const Branch& rack, const Machinery& machinery) {
    const Branch folder = rack.object("Diagnostics", "Diagnostics", "What the server holds and did");
    UA_Server* server = rack.server();
    const auto count = [&](const std::string& name, const std::string& description,
                           const std::function<UA_UInt64()>& valueOf) {
        m_variables.gauge(folder, name, &UA_TYPES[UA_TYPES_UINT64], description,
                          [valueOf] { return Value::scalar(UA_UInt64(valueOf())); });
    };
    const auto statistic = [&](const std::string& name, const std::string& description,
                               UA_UInt64 (*select)(const UA_ServerStatistics&)) {
        count(name, description, [server, select] { return select(UA_Server_getStatistics(server)); });
    };
    using Statistics = const UA_ServerStatistics&;
    statistic("CurrentSessions", "Sessions that are active",
              [](Statistics s) { return UA_UInt64(s.ss.currentSessionCount); });
    statistic("CreatedSessions", "Sessions created since the start",
              [](Statistics s) { return UA_UInt64(s.ss.cumulatedSessionCount); });
    statistic("RejectedSessions", "Sessions refused since the start", [](Statistics s) {
        return UA_UInt64(s.ss.rejectedSessionCount + s.ss.securityRejectedSessionCount);
    });
    statistic("TimedOutSessions", "Sessions ended by their time-out",
              [](Statistics s) { return UA_UInt64(s.ss.sessionTimeoutCount); });
    statistic("AbortedSessions", "Sessions ended by an error",
              [](Statistics s) { return UA_UInt64(s.ss.sessionAbortCount); });
    statistic("CurrentChannels", "Secure channels that are open",
              [](Statistics s) { return UA_UInt64(s.scs.currentChannelCount); });
    statistic("CreatedChannels", "Secure channels opened since the start",
              [](Statistics s) { return UA_UInt64(s.scs.cumulatedChannelCount); });
    statistic("RejectedChannels", "Secure channels refused since the start",
              [](Statistics s) { return UA_UInt64(s.scs.rejectedChannelCount); });

    count("CurrentSubscriptions", "Subscriptions that exist",
          [server] { return UA_UInt64(readScalar<UA_UInt32>(server, NodeId(subscriptionCount), 0)); });
    Clients& clients = machinery.clients;
    count("MonitoredItems", "Monitored items that exist",
          [&clients] { return UA_UInt64(clients.monitoredItems()); });
    count("ValueAccesses", "Values that clients asked to read or write, samplings included",
          [&clients] { return clients.valueAccesses(); });
    const auto login = [&](const std::string& name, const std::string& description,
                           std::string LatestLogin::* field) {
        m_variables.gauge(folder, name, &UA_TYPES[UA_TYPES_STRING], description,
                          [&clients, field] { return Value::scalar(clients.latestLogin().*field); });
    };
    login("LatestUserType", "How the latest session logged in", &LatestLogin::userType);
    login("LatestUser", "User name or certificate subject of the latest session", &LatestLogin::user);
    login("LatestSecurityPolicy", "Security policy of the latest session", &LatestLogin::policyUri);
    login("LatestSecurityMode", "Security mode of the latest session", &LatestLogin::mode);
    Connections& connections = machinery.connections;
    count("OpenConnections", "TCP connections that are open", [&connections] { return connections.count(); });
    const Tags& tags = machinery.tags;
    count("TagChanges", "Changes made to the values in Tags by the clock",
          [&tags] { return tags.changes(); });
    Simulation& simulation = machinery.simulation;
    count("Ticks", "Ticks of the simulation", [&simulation] { return UA_UInt64(simulation.ticks()); });
}

} // namespace plant_server
