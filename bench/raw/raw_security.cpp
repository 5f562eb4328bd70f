#include "raw/raw_security.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <stdexcept>
#include <string>

#include <open62541/plugin/securitypolicy_default.h>

#include "raw/raw_connection.h"
#include "raw/raw_service.h"

namespace bench {
namespace {

constexpr const char* policyNone = "http://opcfoundation.org/UA/SecurityPolicy#None";
constexpr const char* policyBasic256Sha256 = "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";

/// The endpoint that is already chosen keeps the engine from a query of its own, and an application URI that
/// no server has keeps it at this URL.
void stayAt(UA_ClientConfig& config, const UA_EndpointDescription& endpoint) {
    raw::require(UA_EndpointDescription_copy(&endpoint, &config.endpoint), "endpoint");
    config.applicationUri = UA_STRING_ALLOC("urn:no-server:stay-at-this-url");
}

bool isWanted(const UA_EndpointDescription& endpoint) {
    const UA_String policy = UA_STRING(const_cast<char*>(policyBasic256Sha256));
    return endpoint.securityMode == UA_MESSAGESECURITYMODE_SIGNANDENCRYPT &&
           UA_String_equal(&endpoint.securityPolicyUri, &policy);
}

/// The caller clears it.
UA_GetEndpointsResponse queryEndpoints(const std::string& url) {
    UA_ClientConfig config = rawConfiguration();
    UA_EndpointDescription target;
    UA_EndpointDescription_init(&target);
    target.endpointUrl = raw::view(url);
    target.securityMode = UA_MESSAGESECURITYMODE_NONE;
    target.securityPolicyUri = UA_STRING(const_cast<char*>(policyNone));
    stayAt(config, target);
    const RawConnection connection(config, url, RawConnection::Purpose::Query);
    UA_GetEndpointsRequest request;
    UA_GetEndpointsRequest_init(&request);
    request.endpointUrl = raw::view(url);
    UA_GetEndpointsResponse response;
    raw::call(connection.handle(), request, UA_TYPES_GETENDPOINTSREQUEST, response,
              UA_TYPES_GETENDPOINTSRESPONSE, "get endpoints");
    return response;
}

void setEndpoint(UA_ClientConfig& config, const std::string& url) {
    UA_GetEndpointsResponse offers = queryEndpoints(url);
    UA_EndpointDescription* const end = offers.endpoints + offers.endpointsSize;
    const UA_EndpointDescription* const found = std::find_if(offers.endpoints, end, isWanted);
    if (found == end)
        throw std::runtime_error("raw get endpoints: no Basic256Sha256 with SignAndEncrypt");
    stayAt(config, *found);
    UA_GetEndpointsResponse_clear(&offers);
}

UA_SecurityPolicy* roomForPolicies(std::size_t count) {
    return static_cast<UA_SecurityPolicy*>(UA_calloc(count, sizeof(UA_SecurityPolicy)));
}

void setPolicies(UA_ClientConfig& config, const RawIdentity& identity) {
    const UA_ByteString certificate = raw::view(identity.certificate);
    const UA_ByteString key = raw::view(identity.privateKey);
    const auto makeBasic256Sha256 = [&](UA_SecurityPolicy& policy) {
        raw::require(UA_SecurityPolicy_Basic256Sha256(&policy, certificate, key, config.logging), "policy");
    };
    config.securityPolicies = roomForPolicies(2);
    raw::require(UA_SecurityPolicy_None(&config.securityPolicies[0], certificate, config.logging), "policy");
    makeBasic256Sha256(config.securityPolicies[1]);
    config.securityPoliciesSize = 2;
    // Up to 1.4.11 the engine wants the channel's policy for an anonymous user's token, too.
    config.authSecurityPolicies = roomForPolicies(1);
    makeBasic256Sha256(config.authSecurityPolicies[0]);
    config.authSecurityPoliciesSize = 1;
}

} // namespace

UA_ClientConfig securedConfiguration(const std::string& url, const RawIdentity& identity) {
    UA_ClientConfig config = rawConfiguration();
    config.securityMode = UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;
    config.securityPolicyUri = UA_STRING_ALLOC(policyBasic256Sha256);
    config.clientDescription.applicationUri = UA_STRING_ALLOC(identity.applicationUri.c_str());
    setEndpoint(config, url);
    setPolicies(config, identity);
    return config;
}

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (content.empty())
        throw std::runtime_error("nothing in " + file.string());
    return content;
}

} // namespace bench
