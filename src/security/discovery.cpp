#include "uaclient/discovery.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string_view>

#include "client/opcua_client.h"
#include "client/text_field.h"
#include "security/security_policy.h"
#include "uapki/security_policy.h"
#include "uastack/wire_number.h"

using namespace UaClientSdk;

int securityPolicyNumber(std::string_view policyUri) {
    constexpr std::size_t longestUri = 128;
    if (policyUri.size() > longestUri)
        return 0;
    const std::size_t hash = policyUri.find('#');
    const std::string_view name = hash == std::string_view::npos ? policyUri : policyUri.substr(hash + 1);
    const UaPkiSecurityPolicy* policy = UaPkiSecurityPolicy::named(name);
    return policy != nullptr ? policy->number : 0;
}

namespace {

struct Transport {
    std::string_view scheme;
    std::string_view profile; ///< last segment of the profile's URI
};

constexpr std::string_view transportPrefix = "http://opcfoundation.org/UA-Profile/Transport/";

constexpr Transport transports[] = {
    {"http", "soaphttp-wssc-uaxml"},
    {"http", "soaphttp-wssc-uabinary"},
    {"http", "soaphttp-wssc-uaxml-uabinary"},
    {"https", "https-uabinary"},
    {"https", "https-uasoapxml"},
    {"opc.tcp", "uatcp-uasc-uabinary"},
};

bool isProfile(std::string_view profileUri, std::string_view name) {
    return profileUri.substr(0, transportPrefix.size()) == transportPrefix &&
           profileUri.substr(transportPrefix.size()) == name;
}

/// Whether an endpoint of this transport profile can be reached by a URL of this scheme; a scheme that is not
/// known is not judged.
bool suits(std::string_view scheme, std::string_view profileUri) {
    bool known = false;
    for (const Transport& transport : transports) {
        if (transport.scheme == scheme) {
            known = true;
            if (isProfile(profileUri, transport.profile))
                return true;
        }
    }
    return !known;
}

/// Empty when the URL has no scheme.
std::string_view schemeOf(std::string_view url) {
    const std::size_t colon = url.find(':');
    return colon == std::string_view::npos ? std::string_view() : url.substr(0, colon);
}

/// Number of elements that a record can take.
template <typename Element, std::size_t Capacity>
unsigned int bounded(const Element (&)[Capacity], std::size_t count) {
    return static_cast<unsigned int>(std::min(count, Capacity));
}

void fillEndpoint(_OpcUa_EndpointMsg& message, const OpcUa_EndpointDescription& endpoint) {
    setField(message.endpointUrl, viewOf(endpoint.endpointUrl));
    message.securityMode = securityModeNumber(wireNumber(endpoint.securityMode));
    message.securityPolicy = securityPolicyNumber(viewOf(endpoint.securityPolicyUri));
}

/// After that no URL is asked any more: with the time-out of the last call a discovery ends within a minute,
/// however many dead URLs a server tells of.
constexpr std::chrono::seconds askingLimit(50);

/// The three objects that all calls of one discovery share.
struct Query {
    UaDiscovery discovery;
    ServiceSettings settings;
    ClientSecurityInfo security;
    const std::chrono::steady_clock::time_point askingEnd = std::chrono::steady_clock::now() + askingLimit;

    bool asks() const { return std::chrono::steady_clock::now() < askingEnd; }

    /// Fills what `url` answers; false when it does not, or is not asked.
    bool readEndpoints(const OpcUa_String& url, _OpcUa_DiscoveryUrlMsg& message) {
        setField(message.discoveryUrl, viewOf(url));
        UaEndpointDescriptions endpoints;
        if (!asks() || discovery.getEndpoints(settings, UaString(url), security, endpoints).isNotGood())
            return false;
        const std::string_view scheme = schemeOf(viewOf(url));
        const unsigned int count = bounded(message.endpoints, endpoints.length());
        unsigned int kept = 0;
        for (unsigned int i = 0; i < count; ++i) {
            if (suits(scheme, viewOf(endpoints[i].transportProfileUri))) {
                fillEndpoint(message.endpoints[i], endpoints[i]);
                ++kept;
            }
        }
        message.endpointCount = kept;
        return true;
    }

    /// True when at least one of the server's URLs answered.
    bool readServer(const OpcUa_ApplicationDescription& server, _OpcUa_ServerMsg& message) {
        setField(message.applicationUri, viewOf(server.applicationUri));
        setField(message.applicationName, viewOf(server.applicationName.text));
        message.discoveryUrlCount = bounded(message.discoveryUrls, server.discoveryUrlsSize);
        bool answered = false;
        for (unsigned int i = 0; i < message.discoveryUrlCount; ++i)
            answered |= readEndpoints(server.discoveryUrls[i], message.discoveryUrls[i]);
        return answered;
    }
};

} // namespace

int COpcUaClient::OpcUaDiscover(char* discoveryUrl, _OpcUa_ServerConfigMsg& message) {
    Query query;
    UaApplicationDescriptions servers;
    if (query.discovery.findServers(query.settings, UaString(discoveryUrl), query.security, servers)
            .isNotGood()) {
        return m_error.fail(result::findServersFailed);
    }
    message.serverCount = bounded(message.servers, servers.length());
    bool answered = false;
    for (unsigned int i = 0; i < message.serverCount; ++i)
        answered |= query.readServer(servers[i], message.servers[i]);
    return answered ? result::success : m_error.fail(result::getEndpointsFailed);
}
