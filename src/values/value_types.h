#pragma once

#include <utility>

#include "OpcUaTypes.h"
#include "uabase/arrays.h"
#include "uabase/variant.h"

// The twelve types whose values cross the interface: what each is in the caller's buffer and in an array, and
// which members of UaVariant move it. A type that is added is added here and nowhere else.

/// Arrays and matrices of a type. Elements change hands, they are not copied.
template <typename ElementType, auto ToArray, auto ToMatrix, auto SetArray, auto SetMatrix>
struct ArrayOperations {
    using Element = ElementType;
    using Array = UaProtocolArray<ElementType>;

    static OpcUa_StatusCode toArray(UaVariant&& variant, Array& elements) {
        return (std::move(variant).*ToArray)(elements);
    }
    static OpcUa_StatusCode toMatrix(UaVariant&& variant, Array& elements, UaUInt32Array& dimensions) {
        return (std::move(variant).*ToMatrix)(elements, dimensions);
    }
    static void setArray(UaVariant& variant, Array&& elements) { (variant.*SetArray)(std::move(elements)); }
    static OpcUa_StatusCode setMatrix(UaVariant& variant, Array&& elements, UaUInt32Array&& dimensions) {
        return (variant.*SetMatrix)(std::move(elements), std::move(dimensions));
    }
};

/// A number. Cell is what lies in the caller's buffer, Value what the SDK takes.
template <typename CellType, typename Value, OpcUa_StatusCode (UaVariant::*ToValue)(Value&) const,
          void (UaVariant::*SetValue)(Value), typename Arrays>
struct NumberType : Arrays {
    using Cell = CellType;

    /// 0 when the value can't be converted.
    static Cell get(const UaVariant& variant) {
        Value value{};
        (variant.*ToValue)(value);
        return static_cast<Cell>(value);
    }
    static void set(UaVariant& variant, Cell cell) { (variant.*SetValue)(static_cast<Value>(cell)); }
};

/// A byte of the caller's may hold more than 0 and 1.
using BooleanType =
    NumberType<unsigned char, OpcUa_Boolean, &UaVariant::toBoolean, &UaVariant::setBoolean,
               ArrayOperations<OpcUa_Boolean, &UaVariant::toBoolArray, &UaVariant::toBoolMatrix,
                               &UaVariant::setBoolArray, &UaVariant::setBoolMatrix>>;
using SByteType = NumberType<OpcUa_SByte, OpcUa_SByte, &UaVariant::toSByte, &UaVariant::setSByte,
                             ArrayOperations<OpcUa_SByte, &UaVariant::toSByteArray, &UaVariant::toSByteMatrix,
                                             &UaVariant::setSByteArray, &UaVariant::setSByteMatrix>>;
using ByteType = NumberType<OpcUa_Byte, OpcUa_Byte, &UaVariant::toByte, &UaVariant::setByte,
                            ArrayOperations<OpcUa_Byte, &UaVariant::toByteArray, &UaVariant::toByteMatrix,
                                            &UaVariant::setByteArray, &UaVariant::setByteMatrix>>;
using Int16Type = NumberType<OpcUa_Int16, OpcUa_Int16, &UaVariant::toInt16, &UaVariant::setInt16,
                             ArrayOperations<OpcUa_Int16, &UaVariant::toInt16Array, &UaVariant::toInt16Matrix,
                                             &UaVariant::setInt16Array, &UaVariant::setInt16Matrix>>;
using UInt16Type =
    NumberType<OpcUa_UInt16, OpcUa_UInt16, &UaVariant::toUInt16, &UaVariant::setUInt16,
               ArrayOperations<OpcUa_UInt16, &UaVariant::toUInt16Array, &UaVariant::toUInt16Matrix,
                               &UaVariant::setUInt16Array, &UaVariant::setUInt16Matrix>>;
using Int32Type = NumberType<OpcUa_Int32, OpcUa_Int32, &UaVariant::toInt32, &UaVariant::setInt32,
                             ArrayOperations<OpcUa_Int32, &UaVariant::toInt32Array, &UaVariant::toInt32Matrix,
                                             &UaVariant::setInt32Array, &UaVariant::setInt32Matrix>>;
using UInt32Type =
    NumberType<OpcUa_UInt32, OpcUa_UInt32, &UaVariant::toUInt32, &UaVariant::setUInt32,
               ArrayOperations<OpcUa_UInt32, &UaVariant::toUInt32Array, &UaVariant::toUInt32Matrix,
                               &UaVariant::setUInt32Array, &UaVariant::setUInt32Matrix>>;
using Int64Type = NumberType<OpcUa_Int64, OpcUa_Int64, &UaVariant::toInt64, &UaVariant::setInt64,
                             ArrayOperations<OpcUa_Int64, &UaVariant::toInt64Array, &UaVariant::toInt64Matrix,
                                             &UaVariant::setInt64Array, &UaVariant::setInt64Matrix>>;
using UInt64Type =
    NumberType<OpcUa_UInt64, OpcUa_UInt64, &UaVariant::toUInt64, &UaVariant::setUInt64,
               ArrayOperations<OpcUa_UInt64, &UaVariant::toUInt64Array, &UaVariant::toUInt64Matrix,
                               &UaVariant::setUInt64Array, &UaVariant::setUInt64Matrix>>;
using FloatType = NumberType<OpcUa_Float, OpcUa_Float, &UaVariant::toFloat, &UaVariant::setFloat,
                             ArrayOperations<OpcUa_Float, &UaVariant::toFloatArray, &UaVariant::toFloatMatrix,
                                             &UaVariant::setFloatArray, &UaVariant::setFloatMatrix>>;
using DoubleType =
    NumberType<OpcUa_Double, OpcUa_Double, &UaVariant::toDouble, &UaVariant::setDouble,
               ArrayOperations<OpcUa_Double, &UaVariant::toDoubleArray, &UaVariant::toDoubleMatrix,
                               &UaVariant::setDoubleArray, &UaVariant::setDoubleMatrix>>;

struct StringType : ArrayOperations<OpcUa_String, &UaVariant::toStringArray, &UaVariant::toStringMatrix,
                                    &UaVariant::setStringArray, &UaVariant::setStringMatrix> {};

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

/// Type of a value that the server sent; Null for one that does not cross the interface.
constexpr _OpcUaDataType dataTypeOf(OpcUa_BuiltInType type) {
    return type <= OpcUaType_String ? static_cast<_OpcUaDataType>(type) : OpcUaDataType_Null;
}
