#pragma once

#include "uastack/protocol_types.h"

/// The engine's description of an array's elements.
template <typename Element>
inline constexpr int typeIndex = -1;
template <>
inline constexpr int typeIndex<OpcUa_ReadValueId> = UA_TYPES_READVALUEID;
template <>
inline constexpr int typeIndex<OpcUa_DataValue> = UA_TYPES_DATAVALUE;
template <>
inline constexpr int typeIndex<OpcUa_WriteValue> = UA_TYPES_WRITEVALUE;
template <>
inline constexpr int typeIndex<OpcUa_DiagnosticInfo> = UA_TYPES_DIAGNOSTICINFO;
template <>
inline constexpr int typeIndex<OpcUa_ReferenceDescription> = UA_TYPES_REFERENCEDESCRIPTION;
template <>
inline constexpr int typeIndex<OpcUa_ApplicationDescription> = UA_TYPES_APPLICATIONDESCRIPTION;
template <>
inline constexpr int typeIndex<OpcUa_EndpointDescription> = UA_TYPES_ENDPOINTDESCRIPTION;
template <>
inline constexpr int typeIndex<OpcUa_MonitoredItemCreateRequest> = UA_TYPES_MONITOREDITEMCREATEREQUEST;
template <>
inline constexpr int typeIndex<OpcUa_MonitoredItemCreateResult> = UA_TYPES_MONITOREDITEMCREATERESULT;
template <>
inline constexpr int typeIndex<OpcUa_EventFieldList> = UA_TYPES_EVENTFIELDLIST;
template <>
inline constexpr int typeIndex<OpcUa_Boolean> = UA_TYPES_BOOLEAN;
template <>
inline constexpr int typeIndex<OpcUa_SByte> = UA_TYPES_SBYTE;
template <>
inline constexpr int typeIndex<OpcUa_Byte> = UA_TYPES_BYTE;
template <>
inline constexpr int typeIndex<OpcUa_Int16> = UA_TYPES_INT16;
template <>
inline constexpr int typeIndex<OpcUa_UInt16> = UA_TYPES_UINT16;
template <>
inline constexpr int typeIndex<OpcUa_Int32> = UA_TYPES_INT32;
template <>
inline constexpr int typeIndex<OpcUa_UInt32> = UA_TYPES_UINT32;
template <>
inline constexpr int typeIndex<OpcUa_Int64> = UA_TYPES_INT64;
template <>
inline constexpr int typeIndex<OpcUa_UInt64> = UA_TYPES_UINT64;
template <>
inline constexpr int typeIndex<OpcUa_Float> = UA_TYPES_FLOAT;
template <>
inline constexpr int typeIndex<OpcUa_Double> = UA_TYPES_DOUBLE;
template <>
inline constexpr int typeIndex<OpcUa_String> = UA_TYPES_STRING;

template <typename Element>
const UA_DataType* elementType() {
    static_assert(typeIndex<Element> >= 0, "no engine type for this element");
    return &UA_TYPES[typeIndex<Element>];
}
