#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "OpcUaHelpers.h"
#include "addressing/browse_tree.h"
#include "addressing/node_info.h"
#include "commands/commands.h"
#include "connection.h"
#include "files/library_files.h"
#include "interrupt.h"
#include "output/json.h"
#include "output/streams.h"
#include "output/table.h"
#include "security/names.h"
#include "values/value_buffer.h"

namespace opcua_cli {
namespace {

/// A node that every server has (OPC UA Part 5, 6.3, and Part 6, Annex A for the numbers).
struct WellKnownNode {
    const char* key;
    const char* title;
    const char* nodeId;
    _OpcUaDataType type; ///< OpcUaDataType_Null for DateTime, which comes as text
};

constexpr std::array<WellKnownNode, 14> identity{{
    {"productName", "Product", "i=2261", OpcUaDataType_String},
    {"productUri", "Product URI", "i=2262", OpcUaDataType_String},
    {"manufacturerName", "Manufacturer", "i=2263", OpcUaDataType_String},
    {"softwareVersion", "Software version", "i=2264", OpcUaDataType_String},
    {"buildNumber", "Build number", "i=2265", OpcUaDataType_String},
    {"buildDate", "Build date", "i=2266", OpcUaDataType_Null},
    {"startTime", "Started", "i=2257", OpcUaDataType_Null},
    {"currentTime", "Server time", "i=2258", OpcUaDataType_Null},
    {"state", "State", "i=2259", OpcUaDataType_Int32},
    {"serviceLevel", "Service level", "i=2267", OpcUaDataType_Byte},
    {"maxNodesPerRead", "Nodes per read", "i=11705", OpcUaDataType_UInt32},
    {"maxNodesPerWrite", "Nodes per write", "i=11707", OpcUaDataType_UInt32},
    {"maxNodesPerBrowse", "Nodes per browse", "i=11710", OpcUaDataType_UInt32},
    {"maxMonitoredItemsPerCall", "Items per call", "i=11714", OpcUaDataType_UInt32},
}};

constexpr const char* serverObjectId = "i=2253";
constexpr const char* namespaceArrayId = "i=2255";

/// OPC UA Part 5, 12.6 ServerState.
constexpr std::array<const char*, 8> stateNames{"Running",  "Failed", "NoConfiguration",    "Suspended",
                                                "Shutdown", "Test",   "CommunicationFault", "Unknown"};

struct WellKnownAnswer {
    const WellKnownNode* node;
    Value value; ///< empty when the server doesn't tell
};

struct ServerInfo {
    bool connected = false;
    Security security;
    std::vector<WellKnownAnswer> answers;
    std::optional<unsigned long> namespaceCount;
};

/// The library reads no whole arrays as text, but it tells how long they are.
std::optional<unsigned long> countNamespaces(Connection& connection) {
    try {
        BrowseTree tree(connection, serverObjectId);
        for (OpcUaNode* record : tree.expand(tree.wayTo(serverObjectId).back()).children) {
            const NodeInfo node = describe(*record);
            if (node.nodeId == namespaceArrayId && node.dimensions.size() == 1)
                return node.dimensions[0];
        }
    } catch (const Failure& failure) {
        if (failure.exitCode() != ExitCode::Failed)
            throw;
    }
    return std::nullopt;
}

ServerInfo ask(const ConnectOptions& options) {
    const auto held = connectionFor(options);
    Connection& connection = *held;
    ServerInfo info;
    info.security = connection.security();
    for (const WellKnownNode& node : identity) {
        throwIfInterrupted();
        Value value = readSingle(connection, node.nodeId, node.type).value_or(Value());
        const auto* text = std::get_if<std::string>(&value);
        info.answers.push_back({&node, text != nullptr && text->empty() ? Value{} : std::move(value)});
    }
    info.namespaceCount = countNamespaces(connection);
    info.connected = connection.client().OpcUaGetConnectStatus() == OpcUaConnectStatus_Connected;
    return info;
}

std::string stateText(const Value& value) {
    const auto* number = std::get_if<std::int32_t>(&value);
    const bool known = number != nullptr && *number >= 0 && *number < static_cast<int>(stateNames.size());
    return known ? stateNames[static_cast<std::size_t>(*number)] : toText(value);
}

/// Text without the quotes that a value in a list of values has.
std::string answerText(const WellKnownAnswer& answer) {
    const auto* text = std::get_if<std::string>(&answer.value);
    if (text != nullptr)
        return *text;
    const std::string shown =
        answer.node->type == OpcUaDataType_Int32 ? stateText(answer.value) : toText(answer.value);
    const bool limit = answer.node->type == OpcUaDataType_UInt32;
    return limit && shown == "0" ? "no limit" : shown;
}

std::string tableReport(const ConnectOptions& options, const ServerInfo& info) {
    const LibraryFiles files = libraryFiles();
    Table table({{""}, {"", false}});
    const auto add = [&](const char* title, const std::string& text, Tone tone = Tone::Plain) {
        table.add({{title, Tone::Heading}, {text, tone}});
    };
    add("Server", options.url);
    add("Connection", info.connected ? "connected, " + info.security.text() : "lost",
        info.connected ? Tone::Good : Tone::Bad);
    for (const WellKnownAnswer& answer : info.answers)
        if (answer.value.index() != 0)
            add(answer.node->title, answerText(answer));
    if (info.namespaceCount)
        add("Namespaces", std::to_string(*info.namespaceCount));
    add("Trace file", files.trace.string());
    add("Configuration", files.configuration.string());
    add("Certificate", files.clientCertificate.string());
    add("Trust list", files.trustedCertificates.string());
    return table.render(terminalOn(STDOUT_FILENO));
}

std::string jsonReport(const ConnectOptions& options, const ServerInfo& info) {
    const LibraryFiles files = libraryFiles();
    Json server = Json::object();
    for (const WellKnownAnswer& answer : info.answers)
        server[answer.node->key] = toJson(answer.value);
    server["namespaceCount"] = info.namespaceCount ? Json(*info.namespaceCount) : Json();
    return document({{"url", options.url},
                     {"connected", info.connected},
                     {"securityPolicy", policyName(info.security.policy, info.security.mode)},
                     {"securityMode", modeName(info.security.mode)},
                     {"userIdentity", identityName(info.security.identity)},
                     {"server", std::move(server)},
                     {"files",
                      {{"trace", files.trace.string()},
                       {"configuration", files.configuration.string()},
                       {"clientCertificate", files.clientCertificate.string()},
                       {"trustList", files.trustedCertificates.string()}}}});
}

ExitCode runInfo(const ConnectOptions& options) {
    const ServerInfo found = ask(options);
    writeOutput(options.json ? jsonReport(options, found) : tableReport(options, found));
    return ExitCode::Success;
}

constexpr const char* infoExamples = R"(Examples:
  opcua-cli info opc.tcp://192.168.1.20:4840
  opcua-cli info plant:4840 --json | jq -r .server.softwareVersion)";

} // namespace

void addInfoCommand(Program& program, Action& chosen) {
    auto [command, options] = addCommand<ConnectOptions>(
        program, chosen, runInfo, "info", "Show who the server is, and where the library keeps its files",
        infoExamples);
    addConnectOptions(command, options);
}

} // namespace opcua_cli
