#include "raw/raw_client.h"

#include <cstddef>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>

#include "raw/raw_security.h"
#include "raw/raw_service.h"
#include "surroundings/plant_nodes.h"

namespace bench {

using raw::call;
using raw::require;

namespace {

constexpr UA_UInt32 allFields = 0x3F;

UA_ClientConfig unsecuredConfiguration() {
    UA_ClientConfig config = rawConfiguration();
    config.securityMode = UA_MESSAGESECURITYMODE_NONE;
    config.securityPolicyUri = UA_STRING_ALLOC("http://opcfoundation.org/UA/SecurityPolicy#None");
    return config;
}

} // namespace

RawClient::RawClient(UA_ClientConfig config, const std::string& url, const std::string& trustedServer)
    : m_connection(config, url, RawConnection::Purpose::Session, trustedServer),
      m_scalar(raw::parsed(plant_nodes::scalar)), m_folder(raw::parsed(plant_nodes::manyChildren)) {}

RawClient::RawClient(const std::string& url) : RawClient(unsecuredConfiguration(), url, {}) {}

RawClient::RawClient(const std::string& url, const RawIdentity& identity)
    : RawClient(securedConfiguration(url, identity), url, identity.trustedServer) {}

RawClient::~RawClient() {
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
    call(handle(), request, UA_TYPES_READREQUEST, response, UA_TYPES_READRESPONSE, "read");
    if (response.resultsSize != 1)
        throw std::runtime_error("raw read: no result");
    require(response.results[0].status, "read");
}

double RawClient::readScalar() {
    UA_ReadResponse response;
    readValue(m_scalar, response);
    const UA_DataValue& result = response.results[0];
    if (!UA_Variant_hasScalarType(&result.value, &UA_TYPES[UA_TYPES_DOUBLE]))
        throw std::runtime_error("raw read: no Double");
    const double value = *static_cast<const UA_Double*>(result.value.data);
    UA_ReadResponse_clear(&response);
    return value;
}

void RawClient::writeScalar(double value) {
    UA_Variant variant;
    UA_Variant_init(&variant);
    UA_Variant_setScalar(&variant, &value, &UA_TYPES[UA_TYPES_DOUBLE]);
    writeValue(m_scalar, variant);
}

void RawClient::writeValue(const UA_NodeId& node, const UA_Variant& value) {
    UA_WriteValue item;
    UA_WriteValue_init(&item);
    item.nodeId = node;
    item.attributeId = UA_ATTRIBUTEID_VALUE;
    item.value.hasValue = true;
    item.value.value = value;
    UA_WriteRequest request;
    UA_WriteRequest_init(&request);
    request.nodesToWrite = &item;
    request.nodesToWriteSize = 1;
    UA_WriteResponse response;
    call(handle(), request, UA_TYPES_WRITEREQUEST, response, UA_TYPES_WRITERESPONSE, "write");
    if (response.resultsSize != 1)
        throw std::runtime_error("raw write: no result");
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
    call(handle(), request, UA_TYPES_BROWSEREQUEST, response, UA_TYPES_BROWSERESPONSE, "browse");
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
        call(handle(), next, UA_TYPES_BROWSENEXTREQUEST, page, UA_TYPES_BROWSENEXTRESPONSE, "browse next");
        UA_ByteString_clear(&continuationPoint);
        children += readTypes(page.results[0]);
        continuationPoint = page.results[0].continuationPoint;
        page.results[0].continuationPoint = UA_BYTESTRING_NULL;
        UA_BrowseNextResponse_clear(&page);
    }
    return children;
}

void RawClient::iterate(UA_UInt32 milliseconds) {
    require(UA_Client_run_iterate(handle(), milliseconds), "iterate");
}

} // namespace bench
