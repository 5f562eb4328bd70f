#include "raw_client.h"

#include "plant_nodes.h"

#include <benchmark/benchmark.h>
#include <open62541/client_config_default.h>
#include <open62541/plugin/log_stdout.h>

#include <new>
#include <stdexcept>

namespace bench {
namespace {

constexpr UA_UInt32 timeoutMilliseconds = 10000;
constexpr UA_UInt32 allFields = 0x3F;

void require(UA_StatusCode status, const char* operation) {
    if (status != UA_STATUSCODE_GOOD) {
        throw std::runtime_error(std::string("raw ") + operation + ": " + UA_StatusCode_name(status));
    }
}

UA_NodeId parsed(const char* text) {
    UA_NodeId id;
    require(UA_NodeId_parse(&id, UA_STRING(const_cast<char*>(text))), "node id");
    return id;
}

template <typename Request, typename Response>
void call(UA_Client* client, Request& request, int requestType, Response& response, int responseType) {
    request.requestHeader.timeoutHint = timeoutMilliseconds;
    __UA_Client_Service(client, &request, &UA_TYPES[requestType], &response, &UA_TYPES[responseType]);
}

UA_ClientConfig configuration() {
    UA_ClientConfig config{};
    config.logging = UA_Log_Stdout_new(UA_LOGLEVEL_FATAL);
    config.securityMode = UA_MESSAGESECURITYMODE_NONE;
    config.securityPolicyUri = UA_STRING_ALLOC("http://opcfoundation.org/UA/SecurityPolicy#None");
    require(UA_ClientConfig_setDefault(&config), "configuration");
    config.timeout = timeoutMilliseconds;
    config.noReconnect = true;
    config.noNewSession = true;
    config.connectivityCheckInterval = 5000;
    return config;
}

} // namespace

RawClient::RawClient(const std::string& url) {
    UA_ClientConfig config = configuration();
    m_client.reset(UA_Client_newWithConfig(&config));
    if (!m_client) {
        throw std::bad_alloc();
    }
    require(UA_Client_connect(m_client.get(), url.c_str()), "connect");
    m_scalar = parsed(plant_nodes::scalar);
    m_folder = parsed(plant_nodes::manyChildren);
}

RawClient::~RawClient() {
    UA_Client_disconnect(m_client.get());
    UA_NodeId_clear(&m_scalar);
    UA_NodeId_clear(&m_folder);
}

void RawClient::readValue(const UA_NodeId& node, UA_ReadResponse& response) {
    UA_ReadValueId item;
    UA_ReadValueId_init(&item);
    item.nodeId = node;
    item.attributeId = UA_ATTRIBUTEID_VALUE;
    UA_ReadRequest request;
    UA_ReadRequest_init(&request);
    request.timestampsToReturn = UA_TIMESTAMPSTORETURN_BOTH;
    request.nodesToRead = &item;
    request.nodesToReadSize = 1;
    call(m_client.get(), request, UA_TYPES_READREQUEST, response, UA_TYPES_READRESPONSE);
    require(response.responseHeader.serviceResult, "read");
    if (response.resultsSize != 1) {
        throw std::runtime_error("raw read: no result");
    }
}

double RawClient::readScalar() {
    UA_ReadResponse response;
    readValue(m_scalar, response);
    const UA_DataValue& result = response.results[0];
    require(result.status, "read");
    if (!UA_Variant_hasScalarType(&result.value, &UA_TYPES[UA_TYPES_DOUBLE])) {
        throw std::runtime_error("raw read: no Double");
    }
    const double value = *static_cast<const UA_Double*>(result.value.data);
    UA_ReadResponse_clear(&response);
    return value;
}

void RawClient::writeScalar(double value) {
    UA_WriteValue item;
    UA_WriteValue_init(&item);
    item.nodeId = m_scalar;
    item.attributeId = UA_ATTRIBUTEID_VALUE;
    item.value.hasValue = true;
    UA_Variant_setScalar(&item.value.value, &value, &UA_TYPES[UA_TYPES_DOUBLE]);
    UA_WriteRequest request;
    UA_WriteRequest_init(&request);
    request.nodesToWrite = &item;
    request.nodesToWriteSize = 1;
    UA_WriteResponse response;
    call(m_client.get(), request, UA_TYPES_WRITEREQUEST, response, UA_TYPES_WRITERESPONSE);
    require(response.responseHeader.serviceResult, "write");
    if (response.resultsSize != 1) {
        throw std::runtime_error("raw write: no result");
    }
    require(response.results[0], "write");
    UA_WriteResponse_clear(&response);
}

int RawClient::readTypes(const UA_BrowseResult& page) {
    require(page.statusCode, "browse");
    for (std::size_t i = 0; i < page.referencesSize; ++i) {
        UA_ReadResponse response;
        readValue(page.references[i].nodeId.nodeId, response);
        benchmark::DoNotOptimize(response.results[0].value.type);
        UA_ReadResponse_clear(&response);
    }
    return static_cast<int>(page.referencesSize);
}

int RawClient::browseChildren() {
    UA_BrowseDescription description;
    UA_BrowseDescription_init(&description);
    description.nodeId = m_folder;
    description.browseDirection = UA_BROWSEDIRECTION_FORWARD;
    description.referenceTypeId = UA_NODEID_NUMERIC(0, UA_NS0ID_HIERARCHICALREFERENCES);
    description.includeSubtypes = true;
    description.resultMask = allFields;
    UA_BrowseRequest request;
    UA_BrowseRequest_init(&request);
    request.nodesToBrowse = &description;
    request.nodesToBrowseSize = 1;
    UA_BrowseResponse response;
    call(m_client.get(), request, UA_TYPES_BROWSEREQUEST, response, UA_TYPES_BROWSERESPONSE);
    require(response.responseHeader.serviceResult, "browse");
    int children = readTypes(response.results[0]);
    UA_ByteString continuationPoint = response.results[0].continuationPoint;
    response.results[0].continuationPoint = UA_BYTESTRING_NULL;
    UA_BrowseResponse_clear(&response);
    while (continuationPoint.length > 0) {
        UA_BrowseNextRequest next;
        UA_BrowseNextRequest_init(&next);
        next.continuationPoints = &continuationPoint;
        next.continuationPointsSize = 1;
        UA_BrowseNextResponse page;
        call(m_client.get(), next, UA_TYPES_BROWSENEXTREQUEST, page, UA_TYPES_BROWSENEXTRESPONSE);
        UA_ByteString_clear(&continuationPoint);
        require(page.responseHeader.serviceResult, "browse next");
        children += readTypes(page.results[0]);
        continuationPoint = page.results[0].continuationPoint;
        page.results[0].continuationPoint = UA_BYTESTRING_NULL;
        UA_BrowseNextResponse_clear(&page);
    }
    return children;
}

void RawClient::iterate(UA_UInt32 milliseconds) {
    require(UA_Client_run_iterate(m_client.get(), milliseconds), "iterate");
}

} // namespace bench
