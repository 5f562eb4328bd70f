#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "OpcUaClientInterface.h"
#include "addressing/node_info.h"
#include "commands/commands.h"
#include "files/trace.h"
#include "interrupt.h"
#include "output/json.h"
#include "output/streams.h"
#include "output/table.h"
#include "reasons.h"
#include "result_text.h"
#include "security/names.h"
#include "wait.h"

namespace opcua_cli {
namespace {

/// Stands in an entry that the library did not fill: what it leaves alone says that a URL did not answer.
constexpr unsigned int unanswered = std::numeric_limits<unsigned int>::max();

template <typename Entry, std::size_t Size>
std::size_t bounded(const Entry (&)[Size], unsigned int count) {
    return std::min<std::size_t>(Size, count);
}

/// The servers that the discovery server knows; throws Failure.
std::unique_ptr<_OpcUa_ServerConfigMsg> askServers(const CommonOptions& options) {
    Trace trace;
    COpcUaClientInterface client;
    trace.start(client, options);
    auto result = std::make_unique<_OpcUa_ServerConfigMsg>();
    for (_OpcUa_ServerMsg& server : result->servers)
        for (_OpcUa_DiscoveryUrlMsg& url : server.discoveryUrls)
            url.endpointCount = unanswered;
    std::string url = options.url;
    const int code = client.OpcUaDiscover(url.data(), *result);
    throwIfInterrupted();
    if (code != 0) {
        constexpr int unreachable = 18;
        Problem problem = problemFor(code, client);
        if (code == unreachable)
            explainConnect(problem, trace.newTexts(), options.url);
        problem.explanation += ": " + options.url;
        throw Failure(code == unreachable ? ExitCode::NoConnection : ExitCode::Failed, std::move(problem));
    }
    return result;
}

/// The entries that the library filled: they stay at the server's own index, with holes in between.
std::vector<const _OpcUa_EndpointMsg*> endpointsOf(const _OpcUa_DiscoveryUrlMsg& url) {
    std::vector<const _OpcUa_EndpointMsg*> endpoints;
    for (const _OpcUa_EndpointMsg& endpoint : url.endpoints)
        if (endpoint.endpointUrl[0] != '\0')
            endpoints.push_back(&endpoint);
    return endpoints;
}

Json urlJson(const _OpcUa_DiscoveryUrlMsg& url) {
    Json endpoints = Json::array();
    for (const _OpcUa_EndpointMsg* endpoint : endpointsOf(url))
        endpoints.push_back({{"url", fieldText(endpoint->endpointUrl)},
                             {"securityPolicy", policyName(endpoint->securityPolicy, endpoint->securityMode)},
                             {"securityMode", modeName(endpoint->securityMode)}});
    return {{"url", fieldText(url.discoveryUrl)},
            {"answered", url.endpointCount != unanswered},
            {"endpoints", std::move(endpoints)}};
}

Json serverJson(const _OpcUa_ServerMsg& server) {
    Json urls = Json::array();
    for (std::size_t i = 0; i < bounded(server.discoveryUrls, server.discoveryUrlCount); ++i)
        urls.push_back(urlJson(server.discoveryUrls[i]));
    return {{"applicationName", fieldText(server.applicationName)},
            {"applicationUri", fieldText(server.applicationUri)},
            {"discoveryUrls", std::move(urls)}};
}

std::string jsonReport(const CommonOptions& options, const _OpcUa_ServerConfigMsg& result) {
    Json servers = Json::array();
    for (std::size_t i = 0; i < bounded(result.servers, result.serverCount); ++i)
        servers.push_back(serverJson(result.servers[i]));
    return document({{"url", options.url}, {"servers", std::move(servers)}});
}

void addRows(Table& table, const _OpcUa_DiscoveryUrlMsg& url) {
    if (url.endpointCount == unanswered) {
        table.add({fieldText(url.discoveryUrl), "", {"did not answer", Tone::Bad}});
        return;
    }
    const std::vector<const _OpcUa_EndpointMsg*> endpoints = endpointsOf(url);
    if (endpoints.empty())
        table.add({fieldText(url.discoveryUrl), "", {"offers no endpoint", Tone::Faint}});
    for (const _OpcUa_EndpointMsg* endpoint : endpoints)
        table.add({fieldText(endpoint->endpointUrl), modeName(endpoint->securityMode),
                   policyName(endpoint->securityPolicy, endpoint->securityMode)});
}

std::string tableReport(const _OpcUa_ServerConfigMsg& result) {
    const Terminal terminal = terminalOn(STDOUT_FILENO);
    std::string text;
    for (std::size_t i = 0; i < bounded(result.servers, result.serverCount); ++i) {
        const _OpcUa_ServerMsg& server = result.servers[i];
        Table heading({{""}, {"", false}});
        heading.add({{"Server", Tone::Heading}, fieldText(server.applicationName)});
        heading.add({{"URI", Tone::Heading}, fieldText(server.applicationUri)});
        Table endpoints({{"Endpoint", false}, {"Security mode"}, {"Security policy"}});
        for (std::size_t j = 0; j < bounded(server.discoveryUrls, server.discoveryUrlCount); ++j)
            addRows(endpoints, server.discoveryUrls[j]);
        text += (i == 0 ? "" : "\n") + heading.renderFolded(terminal);
        if (!endpoints.empty())
            text += "\n" + endpoints.renderFolded(terminal);
    }
    return text;
}

ExitCode runDiscover(const CommonOptions& options) {
    std::unique_ptr<_OpcUa_ServerConfigMsg> result;
    attemptUntilThere(options.wait, [&] { result = askServers(options); });
    writeOutput(options.json ? jsonReport(options, *result) : tableReport(*result));
    return ExitCode::Success;
}

constexpr const char* discoverExamples = R"(Examples:
  opcua-cli discover opc.tcp://192.168.1.20:4840
  opcua-cli discover plant-server:4840 --json | jq '.servers[].discoveryUrls[].endpoints')";

} // namespace

void addDiscoverCommand(Program& program, Action& chosen) {
    auto [command, options] =
        addCommand<CommonOptions>(program, chosen, runDiscover, "discover",
                                  "Show the servers at an address and their endpoints", discoverExamples);
    addCommonOptions(command, options);
}

} // namespace opcua_cli
