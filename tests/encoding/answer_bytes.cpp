#include "answer_bytes.h"

#include <cstddef>
#include <cstring>
#include <vector>

const std::vector<const UA_DataType*>& responseTypes() {
    static const std::vector<const UA_DataType*> types{
        &UA_TYPES[UA_TYPES_SERVICEFAULT],
        &UA_TYPES[UA_TYPES_OPENSECURECHANNELRESPONSE],
        &UA_TYPES[UA_TYPES_CLOSESECURECHANNELRESPONSE],
        &UA_TYPES[UA_TYPES_FINDSERVERSRESPONSE],
        &UA_TYPES[UA_TYPES_GETENDPOINTSRESPONSE],
        &UA_TYPES[UA_TYPES_CREATESESSIONRESPONSE],
        &UA_TYPES[UA_TYPES_ACTIVATESESSIONRESPONSE],
        &UA_TYPES[UA_TYPES_CLOSESESSIONRESPONSE],
        &UA_TYPES[UA_TYPES_READRESPONSE],
        &UA_TYPES[UA_TYPES_WRITERESPONSE],
        &UA_TYPES[UA_TYPES_BROWSERESPONSE],
        &UA_TYPES[UA_TYPES_BROWSENEXTRESPONSE],
        &UA_TYPES[UA_TYPES_CREATESUBSCRIPTIONRESPONSE],
        &UA_TYPES[UA_TYPES_DELETESUBSCRIPTIONSRESPONSE],
        &UA_TYPES[UA_TYPES_CREATEMONITOREDITEMSRESPONSE],
        &UA_TYPES[UA_TYPES_DELETEMONITOREDITEMSRESPONSE],
        &UA_TYPES[UA_TYPES_PUBLISHRESPONSE],
        &UA_TYPES[UA_TYPES_REPUBLISHRESPONSE],
    };
    return types;
}

Bytes Value::encoded() const {
    Bytes bytes(UA_calcSizeBinary(m_value, &m_type));
    UA_ByteString target{bytes.size(), bytes.data()};
    // An empty target would be allocated.
    if (bytes.empty() || UA_encodeBinary(m_value, &m_type, &target) != UA_STATUSCODE_GOOD)
        return {};
    return bytes;
}

Encoding& Encoding::append(const Bytes& bytes) {
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    return *this;
}

Encoding& Encoding::repeat(std::size_t times, const Bytes& bytes) {
    const std::size_t begin = m_bytes.size();
    m_bytes.resize(begin + times * bytes.size());
    if (bytes.size() == 1) {
        std::memset(m_bytes.data() + begin, bytes.front(), times);
        return *this;
    }
    for (std::size_t i = 0; i < times; ++i)
        std::memcpy(m_bytes.data() + begin + i * bytes.size(), bytes.data(), bytes.size());
    return *this;
}

Encoding& Encoding::header(OpcUa_UInt32 handle, OpcUa_StatusCode result) {
    // Time, handle, result, no diagnostics, no strings, no additional header.
    return number(OpcUa_Int64{0}).number(handle).number(result).byte(0).null().byte(0).byte(0).byte(0);
}

Encoding& Encoding::extensionObject(const UA_DataType& type, const Bytes& body) {
    const auto id = static_cast<OpcUa_UInt16>(type.binaryEncodingId.identifier.numeric);
    return byte(1).byte(0).number(id).byte(1).count(body.size()).append(body);
}

Bytes readAnswer(std::size_t results, const Bytes& result) {
    return Encoding().header().count(results).repeat(results, result).null().bytes();
}
