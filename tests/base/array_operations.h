#pragma once

#include <utility>

#include "uabase/variant.h"

/// The operations on arrays and matrices of all twelve types under one name each.

#define ARRAY_OPERATIONS(Name, Element)                                                                      \
    inline OpcUa_StatusCode toArray(UaVariant&& variant, UaProtocolArray<Element>& values) {                 \
        return std::move(variant).to##Name##Array(values);                                                   \
    }                                                                                                        \
    inline OpcUa_StatusCode toMatrix(UaVariant&& variant, UaProtocolArray<Element>& values,                  \
                                     UaUInt32Array& dimensions) {                                            \
        return std::move(variant).to##Name##Matrix(values, dimensions);                                      \
    }                                                                                                        \
    inline void setArray(UaVariant& variant, UaProtocolArray<Element>&& values) {                            \
        variant.set##Name##Array(std::move(values));                                                         \
    }                                                                                                        \
    inline OpcUa_StatusCode setMatrix(UaVariant& variant, UaProtocolArray<Element>&& values,                 \
                                      UaUInt32Array&& dimensions) {                                          \
        return variant.set##Name##Matrix(std::move(values), std::move(dimensions));                          \
    }

ARRAY_OPERATIONS(Bool, OpcUa_Boolean)
ARRAY_OPERATIONS(SByte, OpcUa_SByte)
ARRAY_OPERATIONS(Byte, OpcUa_Byte)
ARRAY_OPERATIONS(Int16, OpcUa_Int16)
ARRAY_OPERATIONS(UInt16, OpcUa_UInt16)
ARRAY_OPERATIONS(Int32, OpcUa_Int32)
ARRAY_OPERATIONS(UInt32, OpcUa_UInt32)
ARRAY_OPERATIONS(Int64, OpcUa_Int64)
ARRAY_OPERATIONS(UInt64, OpcUa_UInt64)
ARRAY_OPERATIONS(Float, OpcUa_Float)
ARRAY_OPERATIONS(Double, OpcUa_Double)
ARRAY_OPERATIONS(String, OpcUa_String)
#undef ARRAY_OPERATIONS
