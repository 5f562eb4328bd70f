#pragma once

#include "value.h"

namespace opcua_cli {

/// What reading one value gave.
struct ReadResult {
    int resultCode = 0;
    Value value{}; ///< empty unless resultCode is 0
};

/// Room for one value in the form in which the library stores and takes values.
class ValueBuffer {
public:
    static constexpr int firstTextCapacity = 1024;
    static constexpr int greatestTextCapacity = 16 * 1024 * 1024;

    /// To be read into. OpcUaDataType_Null stands for the library's text form of any value.
    explicit ValueBuffer(_OpcUaDataType type, int textCapacity = firstTextCapacity);
    /// To be written from.
    explicit ValueBuffer(const Value& value);

    /// What the record that goes with the buffer has to say.
    _OpcUaDataType recordType() const { return m_type; }
    void* data() { return m_bytes.data(); }
    /// In and out, as the library has it.
    int& size() { return m_size; }

    /// False when a text was read that may be longer than the buffer.
    bool holdsWhole() const;
    /// What was read.
    Value value() const;

private:
    int capacity() const { return static_cast<int>(m_bytes.size()); }

    _OpcUaDataType m_type;
    std::string m_bytes;
    int m_size;
};

/// Reads with greater and greater buffers until a text fits. `read` takes a ValueBuffer and gives a result
/// code.
template <typename Read>
ReadResult readGrowing(_OpcUaDataType type, const Read& read) {
    for (int capacity = ValueBuffer::firstTextCapacity;; capacity *= 8) {
        ValueBuffer buffer(type, capacity);
        const int code = read(buffer);
        if (code != 0)
            return {code, {}};
        if (buffer.holdsWhole() || capacity >= ValueBuffer::greatestTextCapacity)
            return {0, buffer.value()};
    }
}

} // namespace opcua_cli
