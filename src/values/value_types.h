#pragma once

#include "OpcUaTypes.h"
#include "uabase/variant.h"

// The twelve types whose values cross the interface: what each is in the caller's buffer and in an array, and
// which members of UaVariant move it. A type that is added is added here and nowhere else.

/// A number. Cell is what lies in the caller's buffer, Value what the SDK takes.
template <typename CellType, typename ValueType, OpcUa_StatusCode (UaVariant::*ToValue)(ValueType&) const,
          void (UaVariant::*SetValue)(ValueType)>
struct NumberType {
    using Cell = CellType;
    using Element = ValueType;

    /// 0 when the value can't be converted.
    static Cell get(const UaVariant& variant) {
        ValueType value{};
        (variant.*ToValue)(value);
        return static_cast<Cell>(value);
    }
    static void set(UaVariant& variant, Cell cell) { (variant.*SetValue)(static_cast<ValueType>(cell)); }
};

/// A byte of the caller's may hold more than 0 and 1.
using BooleanType = NumberType<unsigned char, OpcUa_Boolean, &UaVariant::toBoolean, &UaVariant::setBoolean>;
using SByteType = NumberType<OpcUa_SByte, OpcUa_SByte, &UaVariant::toSByte, &UaVariant::setSByte>;
using ByteType = NumberType<OpcUa_Byte, OpcUa_Byte, &UaVariant::toByte, &UaVariant::setByte>;
using Int16Type = NumberType<OpcUa_Int16, OpcUa_Int16, &UaVariant::toInt16, &UaVariant::setInt16>;
using UInt16Type = NumberType<OpcUa_UInt16, OpcUa_UInt16, &UaVariant::toUInt16, &UaVariant::setUInt16>;
using Int32Type = NumberType<OpcUa_Int32, OpcUa_Int32, &UaVariant::toInt32, &UaVariant::setInt32>;
using UInt32Type = NumberType<OpcUa_UInt32, OpcUa_UInt32, &UaVariant::toUInt32, &UaVariant::setUInt32>;
using Int64Type = NumberType<OpcUa_Int64, OpcUa_Int64, &UaVariant::toInt64, &UaVariant::setInt64>;
using UInt64Type = NumberType<OpcUa_UInt64, OpcUa_UInt64, &UaVariant::toUInt64, &UaVariant::setUInt64>;
using FloatType = NumberType<OpcUa_Float, OpcUa_Float, &UaVariant::toFloat, &UaVariant::setFloat>;
using DoubleType = NumberType<OpcUa_Double, OpcUa_Double, &UaVariant::toDouble, &UaVariant::setDouble>;

struct StringType {
    using Element = OpcUa_String;
};

/// Empty, or a value that has no form in a buffer.
struct NullType {};
/// Not a number of _OpcUaDataType.
struct UnknownType {};

/// Calls `visitor` with the description of a type and returns what it does.
template <typename Visitor>
auto visitType(_OpcUaDataType type, Visitor&& visitor) {
    switch (type) {
    case OpcUaDataType_Null:
        return visitor(NullType());
    case OpcUaDataType_Boolean:
        return visitor(BooleanType());
    case OpcUaDataType_SByte:
        return visitor(SByteType());
    case OpcUaDataType_Byte:
        return visitor(ByteType());
    case OpcUaDataType_Int16:
        return visitor(Int16Type());
    case OpcUaDataType_UInt16:
        return visitor(UInt16Type());
    case OpcUaDataType_Int32:
        return visitor(Int32Type());
    case OpcUaDataType_UInt32:
        return visitor(UInt32Type());
    case OpcUaDataType_Int64:
        return visitor(Int64Type());
    case OpcUaDataType_UInt64:
        return visitor(UInt64Type());
    case OpcUaDataType_Float:
        return visitor(FloatType());
    case OpcUaDataType_Double:
        return visitor(DoubleType());
    case OpcUaDataType_String:
        return visitor(StringType());
    }
    return visitor(UnknownType());
}

/// Dimensions that can be told or addressed.
constexpr int maximumDimensions = 16;

/// Type of a value that the server sent; Null for one that does not cross the interface.
constexpr _OpcUaDataType dataTypeOf(OpcUa_BuiltInType type) {
    return type <= OpcUaType_String ? static_cast<_OpcUaDataType>(type) : OpcUaDataType_Null;
}
