#include "scalar_conversion.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <variant>

#include "engine.h"
#include "nearest_integer.h"
#include "uabase/date_time.h"
#include "uabase/node_id.h"
#include "uabase/qualified_name.h"

namespace {

/// Any number of the eleven types without loss.
using Number = std::variant<OpcUa_Int64, OpcUa_UInt64, OpcUa_Double>;

template <typename Value>
Value read(const void* data) {
    Value value;
    std::memcpy(&value, data, sizeof(value));
    return value;
}

template <typename Value>
Number numberOf(const void* data) {
    const Value value = read<Value>(data);
    if constexpr (std::is_floating_point_v<Value>)
        return static_cast<OpcUa_Double>(value);
    else if constexpr (std::is_signed_v<Value>)
        return static_cast<OpcUa_Int64>(value);
    else
        return static_cast<OpcUa_UInt64>(value);
}

template <typename Value>
UaString textOf(const void* data) {
    const Value value = read<Value>(data);
    if constexpr (std::is_same_v<Value, OpcUa_Boolean>) {
        return value ? "true" : "false";
    } else {
        if constexpr (std::is_floating_point_v<Value>)
            if (std::isnan(value))
                return "nan"; // whatever its sign, which says nothing
        char text[32];
        return UaString(std::string(text, std::to_chars(text, std::end(text), value).ptr));
    }
}

struct NumericType {
    Number (*number)(const void* data);
    UaString (*text)(const void* data);
};

template <typename... Values>
struct TypeList {
    static constexpr NumericType rows[] = {{numberOf<Values>, textOf<Values>}...};

    /// Built-in type of a C++ type: its place in the list, which starts with Boolean = 1.
    template <typename Value>
    static constexpr OpcUa_BuiltInType builtInType() {
        unsigned int place = 0;
        bool found = false;
        ((found = found || (++place, std::is_same_v<Value, Values>)), ...);
        return static_cast<OpcUa_BuiltInType>(place);
    }
};

/// In the order of the built-in types.
using NumericTypes = TypeList<OpcUa_Boolean, OpcUa_SByte, OpcUa_Byte, OpcUa_Int16, OpcUa_UInt16, OpcUa_Int32,
                              OpcUa_UInt32, OpcUa_Int64, OpcUa_UInt64, OpcUa_Float, OpcUa_Double>;
static_assert(NumericTypes::builtInType<OpcUa_Boolean>() == OpcUaType_Boolean);
static_assert(NumericTypes::builtInType<OpcUa_Double>() == OpcUaType_Double);

const NumericType* numericType(OpcUa_BuiltInType type) {
    return type >= OpcUaType_Boolean && type <= OpcUaType_Double ? &NumericTypes::rows[type - 1] : nullptr;
}

template <typename Target>
bool integerFits(OpcUa_Double rounded) {
    // One above the greatest value is a power of two, which a Double holds exactly; the greatest value may
    // not be.
    const OpcUa_Double tooGreat = std::ldexp(1.0, std::numeric_limits<Target>::digits);
    return rounded >= static_cast<OpcUa_Double>(std::numeric_limits<Target>::min()) && rounded < tooGreat;
}

template <typename Target>
bool integerFits(OpcUa_Int64 number) {
    if constexpr (std::is_signed_v<Target>)
        return number >= std::numeric_limits<Target>::min() && number <= std::numeric_limits<Target>::max();
    else
        return number >= 0 && static_cast<OpcUa_UInt64>(number) <= std::numeric_limits<Target>::max();
}

template <typename Target>
bool integerFits(OpcUa_UInt64 number) {
    return number <= static_cast<OpcUa_UInt64>(std::numeric_limits<Target>::max());
}

template <typename Target, typename Source>
OpcUa_StatusCode convertNumber(Source number, Target& value) {
    if constexpr (std::is_same_v<Source, OpcUa_Double> && !std::is_floating_point_v<Target>) {
        if (!std::isfinite(number))
            return OpcUa_BadOutOfRange;
    }
    if constexpr (std::is_same_v<Target, OpcUa_Boolean>) {
        value = number != 0;
    } else if constexpr (std::is_floating_point_v<Target>) {
        if constexpr (std::is_same_v<Source, OpcUa_Double>) {
            if (std::isfinite(number) && std::abs(number) > std::numeric_limits<Target>::max())
                return OpcUa_BadOutOfRange;
        }
        value = static_cast<Target>(number);
    } else {
        if constexpr (std::is_same_v<Source, OpcUa_Double>)
            number = std::round(number);
        if (!integerFits<Target>(number))
            return OpcUa_BadOutOfRange;
        value = static_cast<Target>(number);
    }
    return OpcUa_Good;
}

/// Good only if the whole text is a finite number of this type; `number` is left alone otherwise.
template <typename Value>
OpcUa_StatusCode parse(std::string_view text, Value& number) {
    Value parsed = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, parsed);
    if (error == std::errc::invalid_argument || stop != end)
        return OpcUa_BadTypeMismatch;
    if (error != std::errc())
        return OpcUa_BadOutOfRange;
    if constexpr (std::is_floating_point_v<Value>) {
        if (!std::isfinite(parsed))
            return OpcUa_BadTypeMismatch;
    }
    number = parsed;
    return OpcUa_Good;
}

OpcUa_StatusCode convertText(std::string_view text, OpcUa_Boolean& value) {
    if (text != "true" && text != "false" && text != "1" && text != "0")
        return OpcUa_BadTypeMismatch;
    value = text == "true" || text == "1";
    return OpcUa_Good;
}

template <typename Target>
OpcUa_StatusCode convertInteger(const NearestInteger& number, Target& value) {
    constexpr auto lowest = OpcUa_UInt64(1) << 63;
    if (!number.isNegative)
        return convertNumber(number.magnitude, value);
    if (number.magnitude > lowest)
        return OpcUa_BadOutOfRange;
    return convertNumber(static_cast<OpcUa_Int64>(0 - number.magnitude), value);
}

/// The text converts as the number would that it denotes.
template <typename Target>
OpcUa_StatusCode convertText(std::string_view text, Target& value) {
    if constexpr (std::is_floating_point_v<Target>) {
        return parse(text, value);
    } else {
        OpcUa_Double approximate = 0;
        const OpcUa_StatusCode status = parse(text, approximate);
        if (status != OpcUa_Good)
            return status;
        const std::optional<NearestInteger> number = nearestInteger(text);
        return number ? convertInteger(*number, value) : OpcUa_BadOutOfRange;
    }
}

std::string_view viewOf(const OpcUa_String& text) {
    return text.length > 0 ? std::string_view(reinterpret_cast<const char*>(text.data), text.length)
                           : std::string_view();
}

} // namespace

template <typename Target>
OpcUa_StatusCode convertScalar(OpcUa_BuiltInType type, const void* data, Target& value) {
    if (type == NumericTypes::builtInType<Target>()) {
        value = read<Target>(data);
        return OpcUa_Good;
    }
    if (const NumericType* source = numericType(type)) {
        const auto convert = [&value](auto number) { return convertNumber(number, value); };
        return std::visit(convert, source->number(data));
    }
    if (type == OpcUaType_String)
        return convertText(viewOf(*static_cast<const OpcUa_String*>(data)), value);
    return OpcUa_BadTypeMismatch;
}

template OpcUa_StatusCode convertScalar(OpcUa_BuiltInType, const void*, OpcUa_Boolean&);
template OpcUa_StatusCode convertScalar(OpcUa_BuiltInType, const void*, OpcUa_SByte&);
template OpcUa_StatusCode convertScalar(OpcUa_BuiltInType, const void*, OpcUa_Byte&);
template OpcUa_StatusCode convertScalar(OpcUa_BuiltInType, const void*, OpcUa_Int16&);
template OpcUa_StatusCode convertScalar(OpcUa_BuiltInType, const void*, OpcUa_UInt16&);
template OpcUa_StatusCode convertScalar(OpcUa_BuiltInType, const void*, OpcUa_Int32&);
template OpcUa_StatusCode convertScalar(OpcUa_BuiltInType, const void*, OpcUa_UInt32&);
template OpcUa_StatusCode convertScalar(OpcUa_BuiltInType, const void*, OpcUa_Int64&);
template OpcUa_StatusCode convertScalar(OpcUa_BuiltInType, const void*, OpcUa_UInt64&);
template OpcUa_StatusCode convertScalar(OpcUa_BuiltInType, const void*, OpcUa_Float&);
template OpcUa_StatusCode convertScalar(OpcUa_BuiltInType, const void*, OpcUa_Double&);

OpcUa_StatusCode convertScalar(OpcUa_BuiltInType type, const void* data, UaString& text) {
    if (const NumericType* source = numericType(type)) {
        text = source->text(data);
        return OpcUa_Good;
    }
    switch (static_cast<OpcUa_UInt32>(type) - 1) {
    case UA_DATATYPEKIND_STRING:
        text = UaString(*static_cast<const UA_String*>(data));
        return OpcUa_Good;
    case UA_DATATYPEKIND_DATETIME:
        text = UaDateTime(*static_cast<const UA_DateTime*>(data)).toString();
        return OpcUa_Good;
    case UA_DATATYPEKIND_GUID:
        text = enginePrinted(*static_cast<const UA_Guid*>(data), UA_Guid_print);
        return OpcUa_Good;
    case UA_DATATYPEKIND_BYTESTRING:
        text = enginePrinted(*static_cast<const UA_ByteString*>(data), UA_ByteString_toBase64);
        return OpcUa_Good;
    case UA_DATATYPEKIND_NODEID:
        text = UaNodeId(*static_cast<const UA_NodeId*>(data)).toXmlString();
        return OpcUa_Good;
    case UA_DATATYPEKIND_QUALIFIEDNAME:
        text = UaQualifiedName(*static_cast<const UA_QualifiedName*>(data)).toString();
        return OpcUa_Good;
    case UA_DATATYPEKIND_LOCALIZEDTEXT:
        text = UaString(static_cast<const UA_LocalizedText*>(data)->text);
        return OpcUa_Good;
    default:
        return OpcUa_BadTypeMismatch;
    }
}
