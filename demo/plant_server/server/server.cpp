#include "server/server.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include <open62541/server_config_default.h>

namespace plant_server {
namespace {

const UA_NodeId objectsFolder = UA_NODEID_NUMERIC(0, UA_NS0ID_OBJECTSFOLDER);
const UA_NodeId viewsFolder = UA_NODEID_NUMERIC(0, UA_NS0ID_VIEWSFOLDER);

void assign(UA_String& target, const std::string& content) {
    UA_String_clear(&target);
    const UA_String source = view(content);
    require(UA_String_copy(&source, &target), "copy a text");
}

/// The stack shares ports with whoever asks: a second server on the same port would start, and clients would
/// reach the one or the other. This refuses it with the reason.
void requireFreePort(const std::string& address, UA_UInt16 port) {
    sockaddr_in wanted{};
    wanted.sin_family = AF_INET;
    wanted.sin_port = htons(port);
    inet_pton(AF_INET, address.c_str(), &wanted.sin_addr);
    const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (probe < 0)
        throw std::runtime_error(std::string("cannot make a socket: ") + std::strerror(errno));
    const int reuse = 1;
    setsockopt(probe, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    const bool free = bind(probe, reinterpret_cast<const sockaddr*>(&wanted), sizeof wanted) == 0;
    const int reason = errno;
    close(probe);
    if (!free)
        throw std::runtime_error("cannot listen on " + address + ":" + std::to_string(port) + ": " +
                                 std::strerror(reason));
}

} // namespace

Server::Server(const Options& options)
    : m_options(options), m_log(options.verbose), m_clients(options.logins) {
    requireFreePort(options.bindAddress, options.port);
    UA_ServerConfig config = configuration();
    m_server.reset(UA_Server_newWithConfig(&config));
    if (!m_server)
        throw std::runtime_error("cannot make the server: " + m_log.latestWarning());
    if (options.security.enabled)
        setTrust(*UA_Server_getConfig(m_server.get()), options.security);
    m_connections = std::make_unique<Connections>(*UA_Server_getConfig(m_server.get())->eventLoop);
    m_connections->setDelay(std::chrono::milliseconds(options.delayMs));
    addNamespaces();
    m_simulation = std::make_unique<Simulation>(m_server.get(), options.seed, options.intervalMs);
    const NodeId objects(objectsFolder);
    addPlant(Branch(m_server.get(), PlantNamespace, "", objects));
    addTestRack(Branch(m_server.get(), TestRackNamespace, "", objects));
    // The stack browses while it builds an address space, and does not go on to a second page.
    UA_Server_getConfig(m_server.get())->maxReferencesPerNode = options.pageSize;
}

UA_ServerConfig Server::configuration() {
    UA_ServerConfig config{};
    config.logging = m_log.logger();
    require(UA_ServerConfig_setBasics_withPort(&config, m_options.port), "configure the server");
    assign(config.serverUrls[0], "opc.tcp://" + m_options.bindAddress + ":" + std::to_string(m_options.port));
    assign(config.applicationDescription.applicationUri, "urn:kestrova:plant-server");
    assign(config.applicationDescription.productUri, "urn:kestrova:opcua-client:plant-server");
    assign(config.applicationDescription.applicationName.text, "Kestrova plant server");
    assign(config.buildInfo.productUri, "urn:kestrova:opcua-client:plant-server");
    assign(config.buildInfo.manufacturerName, "Kestrova");
    assign(config.buildInfo.productName, "Plant server");

    require(UA_ServerConfig_addSecurityPolicyNone(&config, nullptr), "add the policy None");
    if (m_options.security.enabled)
        secure(config, m_options.security, m_options.host);
    else
        // Certificates as user tokens are announced as long as something could check them.
        config.sessionPKI.verifyCertificate = nullptr;
    require(UA_ServerConfig_addAllEndpoints(&config), "add the endpoints");
    config.allowNonePolicyPassword = m_options.insecurePasswords;
    m_clients.install(config);

    static const UA_DataTypeArray types{nullptr, 1, &lineStateType, false};
    config.customDataTypes = &types;
    config.allowEmptyVariables = UA_RULEHANDLING_ACCEPT;

    config.maxNodesPerRead = m_options.maxNodesPerRead;
    config.maxNodesPerWrite = m_options.maxNodesPerWrite;
    config.maxNodesPerBrowse = m_options.maxNodesPerBrowse;
    config.maxMonitoredItemsPerCall = m_options.maxItemsPerMonitorCall;
    config.maxMonitoredItems = m_options.maxItems;
    config.lifeTimeCountLimits.max = m_options.maxLifetime;
    config.maxSessions = m_options.maxSessions;
    // Clients that only discover need a channel too, and a closed one takes a moment to go.
    config.maxSecureChannels = static_cast<UA_UInt16>(m_options.maxSessions + 100);
    constexpr double shortest = 5;
    config.publishingIntervalLimits.min = shortest;
    config.samplingIntervalLimits.min = m_options.minSamplingMs;
    return config;
}

void Server::addNamespaces() {
    const UA_UInt16 plant = UA_Server_addNamespace(m_server.get(), "urn:kestrova:plant");
    const UA_UInt16 testRack = UA_Server_addNamespace(m_server.get(), "urn:kestrova:test-rack");
    if (plant != PlantNamespace || testRack != TestRackNamespace)
        throw std::runtime_error(
            "the stack has namespaces of its own that the plant's node ids don't reckon with");
}

void Server::addPlant(const Branch& objects) {
    constexpr unsigned lines = 3;
    addLineStateType(m_server.get());
    const Branch plant =
        Branch(m_server.get(), PlantNamespace, "", objects.folder("Plant", "Plant", "Dairy").node());
    for (unsigned number = 1; number <= lines; ++number)
        m_lines.emplace_back(plant, *m_simulation, number);
    addBoiler(plant, *m_simulation);
    addTanks(plant, *m_simulation);
    addConveyors(plant, *m_simulation);
    m_tags = std::make_unique<Tags>(objects, m_options.tags);

    const std::string name = "OperatorView";
    const NodeId id(PlantNamespace, name);
    UA_ViewAttributes attributes = UA_ViewAttributes_default;
    const std::string locale = "en";
    const std::string displayName = "Operator view";
    attributes.displayName = localized(locale, displayName);
    attributes.containsNoLoops = true;
    require(UA_Server_addViewNode(m_server.get(), id.get(), viewsFolder,
                                  UA_NODEID_NUMERIC(0, UA_NS0ID_ORGANIZES), {PlantNamespace, view(name)},
                                  attributes, nullptr, nullptr),
            "add the operator view");
    Branch(m_server.get(), PlantNamespace, name, id).organize(NodeId(PlantNamespace, "Line1"));
}

void Server::addTestRack(const Branch& objects) {
    const Branch rack =
        objects.folder("TestRack", "Test rack", "The tester's corner: whatever a server can hold");
    addValues(rack);
    addSpecialValues(rack);
    addTexts(rack);
    addNames(rack);
    m_permissions = std::make_unique<Permissions>(rack);
    addStatuses(rack);
    addIdentifiers(rack);
    addStructures(rack);
    addMethods(rack);
    const NodeId counter = addMovement(rack, *m_simulation);
    const Machinery machinery{*m_simulation, m_clients, *m_connections, *m_tags,
                              [this](std::chrono::seconds delay) { shutDownIn(delay); }};
    m_controls = std::make_unique<Controls>(rack, counter, machinery);
    m_diagnostics = std::make_unique<Diagnostics>(rack, machinery);
}

void Server::stop(UA_Server*, void* self) {
    static_cast<Server*>(self)->m_running = false;
}

void Server::stopOnSignals() {
    const auto onSignal = [](UA_InterruptManager*, uintptr_t, void* self, const UA_KeyValueMap*) {
        stop(nullptr, self);
    };
    UA_EventSource* source = UA_Server_getConfig(m_server.get())->eventLoop->eventSources;
    while (source != nullptr && source->eventSourceType != UA_EVENTSOURCETYPE_INTERRUPTMANAGER)
        source = source->next;
    if (source == nullptr)
        throw std::runtime_error("the stack cannot watch for signals");
    auto* interrupts = reinterpret_cast<UA_InterruptManager*>(source);
    for (const int signal : {SIGTERM, SIGINT})
        require(interrupts->registerInterrupt(interrupts, static_cast<uintptr_t>(signal),
                                              &UA_KEYVALUEMAP_NULL, onSignal, this),
                "watch for signals");
}

void Server::shutDownIn(std::chrono::seconds delay) {
    const NodeId remaining(0, UA_NS0ID_SERVER_SERVERSTATUS_SECONDSTILLSHUTDOWN);
    writeValue(m_server.get(), remaining, Value::scalar(static_cast<UA_UInt32>(delay.count())));
    UA_Server_addTimedCallback(m_server.get(), stop, this,
                               UA_DateTime_nowMonotonic() + delay.count() * UA_DATETIME_SEC, nullptr);
}

UA_UInt16 Server::listeningPort() const {
    if (m_options.port != 0)
        return m_options.port;
    // The stack adds a discovery URL with the port that it got.
    const UA_ApplicationDescription& application =
        UA_Server_getConfig(m_server.get())->applicationDescription;
    for (std::size_t index = 0; index < application.discoveryUrlsSize; ++index) {
        UA_String host;
        UA_String path;
        UA_UInt16 port = 0;
        if (UA_parseEndpointUrl(&application.discoveryUrls[index], &host, &port, &path) ==
                UA_STATUSCODE_GOOD &&
            port != 0)
            return port;
    }
    throw std::runtime_error("the stack didn't tell its port");
}

void Server::run(const std::function<void(const std::string& url)>& ready) {
    stopOnSignals();
    if (UA_Server_run_startup(m_server.get()) != UA_STATUSCODE_GOOD)
        throw std::runtime_error("cannot start: " + m_log.latestWarning());
    ready("opc.tcp://" + m_options.host + ":" + std::to_string(listeningPort()));
    while (m_running) {
        // The stack looks at errno after a receive that returned 0: with EAGAIN left over from something else
        // it takes a client that went for one that is silent, and looks again, and again.
        errno = 0;
        UA_Server_run_iterate(m_server.get(), true);
    }
    UA_Server_run_shutdown(m_server.get());
}

} // namespace plant_server
