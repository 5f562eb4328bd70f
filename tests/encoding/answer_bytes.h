#pragma once

#include <cstring>
#include <string_view>
#include <vector>

#include "uabase/byte_view.h"
#include "uastack/protocol_types.h"

/// Built-in types (OPC UA Part 6, 5.1.2) that the library has no names for.
constexpr unsigned nodeIdTypeId = 17;
constexpr unsigned expandedNodeIdTypeId = 18;
constexpr unsigned localizedTextTypeId = 21;
constexpr unsigned dataValueTypeId = 23;
constexpr unsigned variantTypeId = 24;
constexpr unsigned diagnosticInfoTypeId = 25;

using Bytes = std::vector<OpcUa_Byte>;

inline UaByteView view(const Bytes& bytes) {
    return {bytes.data(), bytes.size()};
}

/// Every response that a client decodes.
const std::vector<const UA_DataType*>& responseTypes();

/// A value of the type, initialised and cleared at the end.
class Value {
public:
    explicit Value(const UA_DataType& type) : m_type(type), m_value(UA_new(&type)) {}
    ~Value() { UA_delete(m_value, &m_type); }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;

    const UA_DataType& type() const { return m_type; }
    void* get() { return m_value; }
    template <typename Type>
    Type& as() {
        return *static_cast<Type*>(m_value);
    }
    UA_ResponseHeader& header() { return as<UA_ResponseHeader>(); }

    /// As the engine encodes it.
    Bytes encoded() const;

private:
    const UA_DataType& m_type;
    void* m_value;
};

/// Bytes put one behind the other as on the wire.
class Encoding {
public:
    template <typename Number>
    Encoding& number(Number value) {
        const auto* begin = reinterpret_cast<const OpcUa_Byte*>(&value);
        m_bytes.insert(m_bytes.end(), begin, begin + sizeof value);
        return *this;
    }
    Encoding& byte(unsigned value) { return number(static_cast<OpcUa_Byte>(value)); }
    Encoding& count(std::size_t value) { return number(static_cast<OpcUa_Int32>(value)); }
    Encoding& null() { return number(OpcUa_Int32{-1}); }
    Encoding& append(const Bytes& bytes);
    Encoding& repeat(std::size_t times, const Bytes& bytes);
    Encoding& header(OpcUa_UInt32 handle = 1, OpcUa_StatusCode result = 0);

    /// An extension object whose body is of a type of the engine's.
    Encoding& extensionObject(const UA_DataType& type, const Bytes& body);

    const Bytes& bytes() const { return m_bytes; }

private:
    Bytes m_bytes;
};

/// A Read's answer with these results, each so often.
Bytes readAnswer(std::size_t results, const Bytes& result);
