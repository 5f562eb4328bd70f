#include "value_buffer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace opcua_cli {
namespace {

constexpr int greatestWidth = 8;

template <typename Type>
Value stored(const std::string& bytes, int size) {
    if constexpr (std::is_same_v<Type, std::monostate>) {
        return {};
    } else if constexpr (std::is_same_v<Type, std::string>) {
        const int capacity = static_cast<int>(bytes.size());
        return bytes.substr(0, static_cast<std::size_t>(std::clamp(size, 0, capacity)));
    } else if constexpr (std::is_same_v<Type, bool>) {
        return bytes[0] != '\0';
    } else {
        static_assert(sizeof(Type) <= greatestWidth);
        Type value;
        std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }
}

using StoredFunction = Value (*)(const std::string&, int);

template <std::size_t... Index>
constexpr std::array<StoredFunction, sizeof...(Index)> storedFunctions(std::index_sequence<Index...>) {
    return {&stored<std::variant_alternative_t<Index, Value>>...};
}

struct BytesMaker {
    std::string operator()(std::monostate) const { return ""; }
    std::string operator()(const std::string& text) const { return text; }
    template <typename Number>
    std::string operator()(Number value) const {
        std::string bytes(sizeof value, '\0');
        std::memcpy(bytes.data(), &value, sizeof value);
        return bytes;
    }
};

_OpcUaDataType convertedType(_OpcUaDataType type) {
    return type > OpcUaDataType_Null && type <= OpcUaDataType_Double ? type : OpcUaDataType_String;
}

} // namespace

ValueBuffer::ValueBuffer(_OpcUaDataType type, int textCapacity)
    : m_type(convertedType(type)),
      m_bytes(static_cast<std::size_t>(m_type == OpcUaDataType_String ? textCapacity : greatestWidth), '\0'),
      m_size(capacity()) {}

ValueBuffer::ValueBuffer(const Value& value)
    : m_type(static_cast<_OpcUaDataType>(value.index())), m_bytes(std::visit(BytesMaker{}, value)),
      m_size(capacity()) {}

bool ValueBuffer::holdsWhole() const {
    // A text that fills the buffer has no terminating zero and may be longer.
    return m_type != OpcUaDataType_String || m_size < capacity() - 1 || m_bytes.back() == '\0';
}

Value ValueBuffer::value() const {
    static constexpr auto table = storedFunctions(std::make_index_sequence<std::variant_size_v<Value>>{});
    return table[static_cast<std::size_t>(m_type)](m_bytes, m_size);
}

} // namespace opcua_cli
