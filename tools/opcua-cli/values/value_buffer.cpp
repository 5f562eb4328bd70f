#include "values/value_buffer.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "OpcUaHelpers.h"

namespace opcua_cli {
namespace {

/// Zero, or a text of `textCapacity` zero bytes.
Value roomFor(_OpcUaDataType type, int textCapacity) {
    const bool isNumber = type > OpcUaDataType_Null && type < OpcUaDataType_String;
    return isNumber ? zeroOf(type) : Value(std::string(static_cast<std::size_t>(textCapacity), '\0'));
}

} // namespace

ValueBuffer::ValueBuffer(_OpcUaDataType type, int textCapacity) : ValueBuffer(roomFor(type, textCapacity)) {}

ValueBuffer::ValueBuffer(Value value) : m_value(std::move(value)), m_size(capacity()) {}

void* ValueBuffer::data() {
    auto* text = std::get_if<std::string>(&m_value);
    return text != nullptr ? text->data() : std::visit([](auto& value) -> void* { return &value; }, m_value);
}

int ValueBuffer::capacity() const {
    const auto* text = std::get_if<std::string>(&m_value);
    return static_cast<int>(
        text != nullptr ? text->size() : std::visit([](const auto& value) { return sizeof value; }, m_value));
}

bool ValueBuffer::holdsWhole() const {
    // The library tells this length of a text that just fits and of a longer one. A zero byte in the last
    // place tells nothing either: it may be the text's own.
    return !std::holds_alternative<std::string>(m_value) || m_size < capacity() - 1;
}

Value ValueBuffer::value() const {
    const auto* text = std::get_if<std::string>(&m_value);
    return text != nullptr ? text->substr(0, static_cast<std::size_t>(std::clamp(m_size, 0, capacity())))
                           : m_value;
}

std::optional<Value> readGrowing(Connection& connection, _OpcUaDataType type,
                                 const std::function<int(ValueBuffer&)>& read) {
    for (int capacity = ValueBuffer::firstTextCapacity;; capacity *= 8) {
        ValueBuffer buffer(type, capacity);
        const int code = read(buffer);
        connection.throwIfLost(code);
        if (code != 0)
            return std::nullopt;
        if (buffer.holdsWhole() || capacity >= ValueBuffer::greatestTextCapacity)
            return buffer.value();
    }
}

std::optional<Value> readSingle(Connection& connection, const std::string& nodeId, _OpcUaDataType type) {
    return readGrowing(connection, type, [&](ValueBuffer& buffer) {
        OpcUaNode record = OpcUaMakeNode(nodeId, buffer.recordType());
        return connection.client().OpcUaGetValue(&record, buffer.data(), buffer.size());
    });
}

} // namespace opcua_cli
