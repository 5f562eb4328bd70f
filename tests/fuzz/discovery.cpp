// What a discovery server and its servers answer, a line a piece: S application URI (a new server), N its
// name, U a discovery URL of it; E endpoint URL (a new endpoint), P its policy, T its transport profile, M
// its mode. Every URL but those that begin with "dead" answers with all endpoints.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "OpcUaClientInterface.h"
#include "fuzz_target.h"
#include "standin/standin.h"

namespace {

struct Server {
    std::string uri;
    std::string name;
    std::vector<std::string> urls;
};

struct Endpoint {
    std::string url;
    std::string policy;
    std::string profile;
    int mode = 0;
};

struct Answers {
    std::vector<Server> servers;
    std::vector<Endpoint> endpoints;
};

void take(char kind, std::string text, Answers& answers) {
    if (kind == 'S')
        answers.servers.push_back({std::move(text), {}, {}});
    else if (kind == 'E')
        answers.endpoints.push_back({std::move(text), {}, {}});
    else if (!answers.servers.empty() && kind == 'N')
        answers.servers.back().name = std::move(text);
    else if (!answers.servers.empty() && kind == 'U')
        answers.servers.back().urls.push_back(std::move(text));
    else if (!answers.endpoints.empty() && kind == 'P')
        answers.endpoints.back().policy = std::move(text);
    else if (!answers.endpoints.empty() && kind == 'T')
        answers.endpoints.back().profile = std::move(text);
    else if (!answers.endpoints.empty() && kind == 'M')
        answers.endpoints.back().mode = text.empty() ? 0 : text[0] - '0';
}

Answers answersIn(std::string_view rest) {
    Answers answers;
    while (!rest.empty()) {
        const std::string_view line = takeUntil('\n', rest);
        if (!line.empty())
            take(line[0], std::string(line.substr(1)), answers);
    }
    return answers;
}

OpcUa_String owned(const std::string& text) {
    OpcUa_String copy{};
    const UaString source(text);
    const OpcUa_String view = source.view();
    UA_String_copy(&view, &copy);
    return copy;
}

void fill(UaApplicationDescriptions& target, const std::vector<Server>& servers) {
    target.create(static_cast<OpcUa_UInt32>(servers.size()));
    for (OpcUa_UInt32 i = 0; i < target.length(); ++i) {
        const std::vector<std::string>& urls = servers[i].urls;
        target[i].applicationUri = owned(servers[i].uri);
        target[i].applicationName.text = owned(servers[i].name);
        target[i].discoveryUrls =
            static_cast<OpcUa_String*>(UA_Array_new(urls.size(), &UA_TYPES[UA_TYPES_STRING]));
        target[i].discoveryUrlsSize = urls.size();
        for (std::size_t j = 0; j < urls.size(); ++j)
            target[i].discoveryUrls[j] = owned(urls[j]);
    }
}

void fill(UaEndpointDescriptions& target, const std::vector<Endpoint>& endpoints) {
    target.create(static_cast<OpcUa_UInt32>(endpoints.size()));
    for (OpcUa_UInt32 i = 0; i < target.length(); ++i) {
        target[i].endpointUrl = owned(endpoints[i].url);
        target[i].securityPolicyUri = owned(endpoints[i].policy);
        target[i].transportProfileUri = owned(endpoints[i].profile);
        target[i].securityMode = static_cast<OpcUa_MessageSecurityMode>(endpoints[i].mode);
    }
}

bool isDead(const std::string& url) {
    return url.compare(0, 4, "dead") == 0;
}

void checkRecord(const _OpcUa_ServerConfigMsg& record, const Answers& answers) {
    require(record.serverCount == std::min<std::size_t>(answers.servers.size(), 10),
            "up to ten servers count");
    for (unsigned int i = 0; i < record.serverCount; ++i) {
        const _OpcUa_ServerMsg& server = record.servers[i];
        const std::vector<std::string>& urls = answers.servers[i].urls;
        require(server.discoveryUrlCount == std::min<std::size_t>(urls.size(), 15), "up to 15 URLs count");
        for (unsigned int j = 0; j < server.discoveryUrlCount; ++j) {
            const _OpcUa_DiscoveryUrlMsg& entry = server.discoveryUrls[j];
            require(!isDead(urls[j]) || entry.endpointCount == 0, "a URL without an answer is left alone");
            require(entry.endpointCount <= 20, "up to 20 endpoints count");
            for (const _OpcUa_EndpointMsg& endpoint : entry.endpoints) {
                require(endpoint.securityPolicy >= 0 && endpoint.securityPolicy <= 5, "policies are 0 to 5");
                require(endpoint.securityMode >= 0 && endpoint.securityMode <= 2, "modes are 0 to 2");
            }
        }
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Answers answers = answersIn(asText(data, size));
    standin::Script& script = standin::script();
    script.reset();
    script.onFindServers = [&answers](const standin::DiscoveryRequest&, UaApplicationDescriptions& servers) {
        fill(servers, answers.servers);
        return UaStatus();
    };
    script.onGetEndpoints = [&answers](const standin::DiscoveryRequest& request,
                                       UaEndpointDescriptions& endpoints) {
        fill(endpoints, answers.endpoints);
        return isDead(request.url) ? UaStatus(OpcUa_BadUnexpectedError) : UaStatus();
    };
    COpcUaClientInterface client;
    // Of its own size on the heap: the sanitizer sees what is written behind it.
    const auto record = std::make_unique<_OpcUa_ServerConfigMsg>();
    std::string url = "opc.tcp://plant:4840";
    const int code = client.OpcUaDiscover(url.data(), *record);
    require(code == 0 || code == 19, "servers were found");
    checkRecord(*record, answers);
    return 0;
}
