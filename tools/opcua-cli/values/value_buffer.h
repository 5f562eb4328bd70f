#pragma once

#include <functional>
#include <optional>
#include <string>

#include "connection.h"
#include "values/value.h"

namespace opcua_cli {

/// Room for one value in the form in which the library stores and takes values.
class ValueBuffer {
public:
    static constexpr int firstTextCapacity = 1024;
    static constexpr int greatestTextCapacity = 16 * 1024 * 1024;

    /// To be read into. OpcUaDataType_Null stands for the library's text form of any value.
    explicit ValueBuffer(_OpcUaDataType type, int textCapacity = firstTextCapacity);
    /// To be written from; not empty.
    explicit ValueBuffer(Value value);

    /// What the record that goes with the buffer has to say.
    _OpcUaDataType recordType() const { return static_cast<_OpcUaDataType>(m_value.index()); }
    void* data();
    /// In and out, as the library has it.
    int& size() { return m_size; }
    int capacity() const;

    /// False when a text was read that may be longer than the buffer.
    bool holdsWhole() const;
    /// What was read.
    Value value() const;

private:
    Value m_value;
    int m_size;
};

/// Reads with greater and greater buffers until a text fits. `read` gives a result code; with another than 0
/// there is no value, and Connection::lastProblem() says why. Throws as Connection::throwIfLost().
std::optional<Value> readGrowing(Connection& connection, _OpcUaDataType type,
                                 const std::function<int(ValueBuffer&)>& read);

/// Reads a single value as the given type; OpcUaDataType_Null gives the library's text form of any value,
/// which is empty when it has none. Throws and fails as readGrowing().
std::optional<Value> readSingle(Connection& connection, const std::string& nodeId, _OpcUaDataType type);

} // namespace opcua_cli
