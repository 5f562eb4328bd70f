#include "support/raw_client.h"

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <open62541/client_config_default.h>
#include <open62541/client_highlevel.h>

namespace test_support {
namespace {

UA_String view(std::string_view text) {
    return {text.size(), reinterpret_cast<UA_Byte*>(const_cast<char*>(text.data()))};
}

std::string toText(const UA_String& string) {
    return {reinterpret_cast<const char*>(string.data), string.length};
}

class ParsedNodeId {
public:
    explicit ParsedNodeId(const std::string& text) {
        if (UA_NodeId_parse(&m_id, view(text)) != UA_STATUSCODE_GOOD)
            throw std::runtime_error(text + " is no node id");
    }
    ~ParsedNodeId() { UA_NodeId_clear(&m_id); }
    ParsedNodeId(const ParsedNodeId&) = delete;
    ParsedNodeId& operator=(const ParsedNodeId&) = delete;

    const UA_NodeId& get() const { return m_id; }

private:
    UA_NodeId m_id{};
};

std::string toText(const UA_NodeId& id) {
    UA_String string = UA_STRING_NULL;
    UA_NodeId_print(&id, &string);
    std::string result = toText(string);
    UA_String_clear(&string);
    return result;
}

/// Returns the continuation point, which is the caller's.
UA_ByteString take(UA_BrowseResult* results, std::size_t count, BrowseAnswers& answers) {
    UA_ByteString point = UA_BYTESTRING_NULL;
    ++answers.answers;
    if (count != 1)
        return point;
    answers.status = results->statusCode;
    for (std::size_t index = 0; index < results->referencesSize; ++index) {
        const UA_ReferenceDescription& reference = results->references[index];
        answers.references.push_back({toText(reference.nodeId.nodeId), toText(reference.browseName.name),
                                      toText(reference.displayName.text),
                                      toText(reference.displayName.locale), reference.nodeClass});
    }
    std::swap(point, results->continuationPoint);
    return point;
}

void silence(void*, UA_LogLevel, UA_LogCategory, const char*, va_list) {}

} // namespace

template <>
const UA_DataType* dataType<UA_Boolean>() {
    return &UA_TYPES[UA_TYPES_BOOLEAN];
}
template <>
const UA_DataType* dataType<UA_SByte>() {
    return &UA_TYPES[UA_TYPES_SBYTE];
}
template <>
const UA_DataType* dataType<UA_Byte>() {
    return &UA_TYPES[UA_TYPES_BYTE];
}
template <>
const UA_DataType* dataType<UA_Int16>() {
    return &UA_TYPES[UA_TYPES_INT16];
}
template <>
const UA_DataType* dataType<UA_UInt16>() {
    return &UA_TYPES[UA_TYPES_UINT16];
}
template <>
const UA_DataType* dataType<UA_Int32>() {
    return &UA_TYPES[UA_TYPES_INT32];
}
template <>
const UA_DataType* dataType<UA_UInt32>() {
    return &UA_TYPES[UA_TYPES_UINT32];
}
template <>
const UA_DataType* dataType<UA_Int64>() {
    return &UA_TYPES[UA_TYPES_INT64];
}
template <>
const UA_DataType* dataType<UA_UInt64>() {
    return &UA_TYPES[UA_TYPES_UINT64];
}
template <>
const UA_DataType* dataType<UA_Float>() {
    return &UA_TYPES[UA_TYPES_FLOAT];
}
template <>
const UA_DataType* dataType<UA_Double>() {
    return &UA_TYPES[UA_TYPES_DOUBLE];
}
template <>
const UA_DataType* dataType<UA_String>() {
    return &UA_TYPES[UA_TYPES_STRING];
}

std::vector<UA_UInt32> ReadValue::dimensions() const {
    return {m_value.value.arrayDimensions, m_value.value.arrayDimensions + m_value.value.arrayDimensionsSize};
}

std::size_t ReadValue::elements() const {
    return UA_Variant_isScalar(&m_value.value) ? 1 : m_value.value.arrayLength;
}

const void* ReadValue::content(const UA_DataType* type, std::size_t position) const {
    const UA_Variant& value = m_value.value;
    if (value.type != type || position >= elements())
        throw std::runtime_error("no element " + std::to_string(position) + " of type " + type->typeName +
                                 " in a value of " + std::to_string(value.type == nullptr ? 0 : elements()) +
                                 " elements of type " +
                                 (value.type == nullptr ? "Null" : value.type->typeName) + " with status " +
                                 UA_StatusCode_name(status()));
    return static_cast<const UA_Byte*>(value.data) + position * type->memSize;
}

std::string ReadValue::text(std::size_t position) const {
    return toText(get<UA_String>(position));
}

const Reference* BrowseAnswers::find(const std::string& browseName) const {
    for (const Reference& reference : references)
        if (reference.browseName == browseName)
            return &reference;
    return nullptr;
}

RawClient::RawClient() : m_client(nullptr) {
    static UA_Logger logger{silence, nullptr, nullptr};
    UA_ClientConfig config{};
    config.logging = &logger;
    UA_ClientConfig_setDefault(&config);
    config.noReconnect = true;
    config.noNewSession = true;
    m_client = UA_Client_newWithConfig(&config);
}

RawClient::RawClient(const std::string& url) : RawClient() {
    const UA_StatusCode status = connect(url);
    if (status != UA_STATUSCODE_GOOD)
        throw std::runtime_error("cannot connect to " + url + ": " + UA_StatusCode_name(status));
}

RawClient::~RawClient() {
    // It would wait for the answer of a server that is gone, unless it has seen that the connection is
    // closed: one round sees it, the next one closes.
    UA_Client_run_iterate(get(), 0);
    UA_Client_run_iterate(get(), 0);
    UA_Client_delete(get());
}

UA_Client* RawClient::get() const {
    // The stack looks at errno after a receive that returned 0: with EAGAIN left over from something else it
    // takes the end of a connection for "nothing there yet", and waits until its time is over.
    errno = 0;
    return m_client;
}

UA_StatusCode RawClient::connect(const std::string& url) {
    return UA_Client_connect(get(), url.c_str());
}

UA_StatusCode RawClient::connect(const std::string& url, const std::string& user,
                                 const std::string& password) {
    return UA_Client_connectUsername(get(), url.c_str(), user.c_str(), password.c_str());
}

void RawClient::disconnect() {
    UA_Client_disconnect(get());
}

ReadValue RawClient::read(const std::string& nodeId, UA_AttributeId attribute) {
    return std::move(readAll({nodeId}, attribute).front());
}

std::vector<ReadValue> RawClient::readAll(const std::vector<std::string>& nodeIds, UA_AttributeId attribute) {
    std::vector<UA_ReadValueId> items(nodeIds.size());
    for (std::size_t index = 0; index < nodeIds.size(); ++index) {
        UA_ReadValueId_init(&items[index]);
        items[index].attributeId = static_cast<UA_UInt32>(attribute);
        if (UA_NodeId_parse(&items[index].nodeId, view(nodeIds[index])) != UA_STATUSCODE_GOOD)
            throw std::runtime_error(nodeIds[index] + " is no node id");
    }
    UA_ReadRequest request;
    UA_ReadRequest_init(&request);
    request.nodesToRead = items.data();
    request.nodesToReadSize = items.size();
    request.timestampsToReturn = UA_TIMESTAMPSTORETURN_BOTH;
    UA_ReadResponse response = UA_Client_Service_read(get(), request);
    for (UA_ReadValueId& item : items)
        UA_ReadValueId_clear(&item);

    std::vector<ReadValue> values;
    for (std::size_t index = 0; index < nodeIds.size(); ++index) {
        UA_DataValue value;
        UA_DataValue_init(&value);
        value.hasStatus = true;
        value.status = response.responseHeader.serviceResult;
        if (index < response.resultsSize)
            std::swap(value, response.results[index]);
        values.emplace_back(value);
    }
    UA_ReadResponse_clear(&response);
    return values;
}

UA_StatusCode RawClient::write(const std::string& nodeId, const UA_Variant& value) {
    const ParsedNodeId id(nodeId);
    return UA_Client_writeValueAttribute(get(), id.get(), &value);
}

UA_StatusCode RawClient::writeText(const std::string& nodeId, const std::string& text) {
    return write(nodeId, view(text));
}

BrowseAnswers RawClient::browse(const std::string& nodeId) {
    const ParsedNodeId id(nodeId);
    UA_BrowseDescription description;
    UA_BrowseDescription_init(&description);
    description.nodeId = id.get();
    description.resultMask = UA_BROWSERESULTMASK_ALL;
    description.referenceTypeId = UA_NODEID_NUMERIC(0, UA_NS0ID_HIERARCHICALREFERENCES);
    description.includeSubtypes = true;

    UA_BrowseRequest request;
    UA_BrowseRequest_init(&request);
    request.nodesToBrowse = &description;
    request.nodesToBrowseSize = 1;
    UA_BrowseResponse first = UA_Client_Service_browse(get(), request);
    BrowseAnswers answers{first.responseHeader.serviceResult, 0, {}};
    UA_ByteString point = take(first.results, first.resultsSize, answers);
    UA_BrowseResponse_clear(&first);
    while (point.length > 0) {
        UA_BrowseNextRequest nextRequest;
        UA_BrowseNextRequest_init(&nextRequest);
        nextRequest.continuationPoints = &point;
        nextRequest.continuationPointsSize = 1;
        UA_BrowseNextResponse next = UA_Client_Service_browseNext(get(), nextRequest);
        UA_ByteString_clear(&point);
        answers.status = next.responseHeader.serviceResult;
        point = take(next.results, next.resultsSize, answers);
        UA_BrowseNextResponse_clear(&next);
    }
    return answers;
}

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace test_support
