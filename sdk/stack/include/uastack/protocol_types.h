#pragma once

#include <cstddef>

#include "uastack/export.h"

// The engine's types cross our libraries' borders: a type that counts as hidden would hide what is made of
// it.
#pragma GCC visibility push(default)
#include <open62541/types.h>
#include <open62541/types_generated.h>
#pragma GCC visibility pop

/// Types that exported symbols of the library name. They hold what the engine's hold and have names of their
/// own, so that the engine can be changed and the symbols stay.
struct UASDK_EXPORT _OpcUa_ByteString : UA_ByteString {
    _OpcUa_ByteString() = default;
    _OpcUa_ByteString(const UA_ByteString& bytes) : UA_ByteString(bytes) {}
    _OpcUa_ByteString(std::size_t size, UA_Byte* bytes) : UA_ByteString{size, bytes} {}
};
struct UASDK_EXPORT _OpcUa_DiagnosticInfo : UA_DiagnosticInfo {};
struct UASDK_EXPORT _OpcUa_EventFieldList : UA_EventFieldList {};

/// The protocol's own types under the names that the layers above use. They are the engine's types, not
/// copies: nothing is converted between the wire and the caller.

using OpcUa_Boolean = UA_Boolean;
using OpcUa_SByte = UA_SByte;
using OpcUa_Byte = UA_Byte;
using OpcUa_Int16 = UA_Int16;
using OpcUa_UInt16 = UA_UInt16;
using OpcUa_Int32 = UA_Int32;
using OpcUa_UInt32 = UA_UInt32;
using OpcUa_Int64 = UA_Int64;
using OpcUa_UInt64 = UA_UInt64;
using OpcUa_Float = UA_Float;
using OpcUa_Double = UA_Double;
using OpcUa_String = UA_String;
using OpcUa_ByteString = _OpcUa_ByteString;
using OpcUa_DateTime = UA_DateTime;
using OpcUa_NodeId = UA_NodeId;
using OpcUa_QualifiedName = UA_QualifiedName;
using OpcUa_Variant = UA_Variant;
using OpcUa_DataValue = UA_DataValue;
using OpcUa_DiagnosticInfo = _OpcUa_DiagnosticInfo;
using OpcUa_StatusCode = UA_StatusCode;
using OpcUa_ReadValueId = UA_ReadValueId;
using OpcUa_WriteValue = UA_WriteValue;
using OpcUa_ReferenceDescription = UA_ReferenceDescription;
using OpcUa_ApplicationDescription = UA_ApplicationDescription;
using OpcUa_EndpointDescription = UA_EndpointDescription;
using OpcUa_MonitoredItemCreateRequest = UA_MonitoredItemCreateRequest;
using OpcUa_MonitoredItemCreateResult = UA_MonitoredItemCreateResult;
using OpcUa_MonitoredItemNotification = UA_MonitoredItemNotification;
using OpcUa_MonitoringMode = UA_MonitoringMode;
using OpcUa_EventFieldList = _OpcUa_EventFieldList;
using OpcUa_MessageSecurityMode = UA_MessageSecurityMode;
using OpcUa_BrowseDirection = UA_BrowseDirection;
using OpcUa_TimestampsToReturn = UA_TimestampsToReturn;

/// OPC UA Part 6, 5.1.2: identifiers of the built-in types.
enum OpcUa_BuiltInType : OpcUa_UInt32 {
    OpcUaType_Null = 0,
    OpcUaType_Boolean = 1,
    OpcUaType_SByte = 2,
    OpcUaType_Byte = 3,
    OpcUaType_Int16 = 4,
    OpcUaType_UInt16 = 5,
    OpcUaType_Int32 = 6,
    OpcUaType_UInt32 = 7,
    OpcUaType_Int64 = 8,
    OpcUaType_UInt64 = 9,
    OpcUaType_Float = 10,
    OpcUaType_Double = 11,
    OpcUaType_String = 12,
    OpcUaType_DateTime = 13,
    OpcUaType_Guid = 14,
    OpcUaType_ByteString = 15,
    OpcUaType_ExtensionObject = 22
};

/// OPC UA Part 4, 7.40.
constexpr OpcUa_TimestampsToReturn OpcUa_TimestampsToReturn_Both = UA_TIMESTAMPSTORETURN_BOTH;

/// OPC UA Part 4, 7.20.
constexpr OpcUa_MessageSecurityMode OpcUa_MessageSecurityMode_None = UA_MESSAGESECURITYMODE_NONE;
constexpr OpcUa_MessageSecurityMode OpcUa_MessageSecurityMode_Sign = UA_MESSAGESECURITYMODE_SIGN;
constexpr OpcUa_MessageSecurityMode OpcUa_MessageSecurityMode_SignAndEncrypt =
    UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;

/// OPC UA Part 4, 7.23.
constexpr OpcUa_MonitoringMode OpcUa_MonitoringMode_Reporting = UA_MONITORINGMODE_REPORTING;

/// OPC UA Part 4, 5.9.2.
constexpr OpcUa_BrowseDirection OpcUa_BrowseDirection_Forward = UA_BROWSEDIRECTION_FORWARD;

/// OPC UA Part 6, A.1: attribute identifiers.
constexpr OpcUa_UInt32 OpcUa_Attributes_Value = 13;

/// OPC UA Part 6, A.2: well-known nodes of namespace 0.
constexpr OpcUa_UInt32 OpcUaId_HierarchicalReferences = 33;
constexpr OpcUa_UInt32 OpcUaId_RootFolder = 84;
