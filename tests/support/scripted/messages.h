#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include <open62541/types_generated.h>

#include "support/scripted/bytes.h"

// The engine's types as values, and their encoding.
namespace scripted {

/// The engine's description of one of its structures.
template <class T>
const UA_DataType& typeOf();

/// A structure of the engine that frees what it holds.
template <class T>
class Owned {
public:
    Owned() = default;
    ~Owned() { UA_clear(&m_value, &typeOf<T>()); }
    Owned(Owned&& other) noexcept : m_value(std::exchange(other.m_value, T{})) {}
    Owned& operator=(Owned&& other) noexcept {
        std::swap(m_value, other.m_value);
        return *this;
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;

    T* operator->() { return &m_value; }
    const T* operator->() const { return &m_value; }
    T& operator*() { return m_value; }
    const T& operator*() const { return m_value; }

private:
    T m_value{};
};

/// The type whose binary encoding has this identifier in namespace 0; null when there is none.
const UA_DataType* typeWithEncoding(std::uint32_t identifier);
/// Takes the NodeId of a message's type off its front; 0 when it is no numeric one of namespace 0.
std::uint32_t takeTypeId(Reader& reader);

Bytes encode(const void* value, const UA_DataType& type);
template <class T>
Bytes encode(const T& value) {
    return encode(&value, typeOf<T>());
}
/// The identifier of its encoding, and the value: the body of a message.
Bytes messageBody(const void* value, const UA_DataType& type);
template <class T>
Bytes messageBody(const T& value) {
    return messageBody(&value, typeOf<T>());
}
bool decode(const Bytes& bytes, void* value, const UA_DataType& type);

/// Replace a field of a structure that frees what it holds.
void assign(UA_String& field, const Bytes& content); // a UA_ByteString, too
void assign(UA_Variant& field, std::int32_t number);

/// Makes an array longer, with zeros, or shorter. An empty one is null.
void resizeArray(void** elements, std::size_t& size, std::size_t newSize, const UA_DataType& type);
template <class T>
void resize(T*& elements, std::size_t& size, std::size_t newSize) {
    void* array = elements;
    resizeArray(&array, size, newSize, typeOf<T>());
    elements = static_cast<T*>(array);
}

/// "ns=1;s=Name" of a node; empty for other ids.
std::string textOf(const UA_NodeId& id);

// NOLINTNEXTLINE(bugprone-macro-parentheses): a type's name
#define SCRIPTED_TYPE(Type, INDEX)                                                                           \
    template <>                                                                                              \
    inline const UA_DataType& typeOf<Type>() {                                                               \
        return UA_TYPES[INDEX];                                                                              \
    }

SCRIPTED_TYPE(UA_UInt32, UA_TYPES_UINT32) // and UA_StatusCode
SCRIPTED_TYPE(UA_String, UA_TYPES_STRING) // and UA_ByteString
SCRIPTED_TYPE(UA_NodeId, UA_TYPES_NODEID)
SCRIPTED_TYPE(UA_Variant, UA_TYPES_VARIANT)
SCRIPTED_TYPE(UA_DataValue, UA_TYPES_DATAVALUE)
SCRIPTED_TYPE(UA_ExtensionObject, UA_TYPES_EXTENSIONOBJECT)
SCRIPTED_TYPE(UA_DiagnosticInfo, UA_TYPES_DIAGNOSTICINFO)
SCRIPTED_TYPE(UA_RequestHeader, UA_TYPES_REQUESTHEADER)
SCRIPTED_TYPE(UA_ResponseHeader, UA_TYPES_RESPONSEHEADER)
SCRIPTED_TYPE(UA_ServiceFault, UA_TYPES_SERVICEFAULT)
SCRIPTED_TYPE(UA_ApplicationDescription, UA_TYPES_APPLICATIONDESCRIPTION)
SCRIPTED_TYPE(UA_EndpointDescription, UA_TYPES_ENDPOINTDESCRIPTION)
SCRIPTED_TYPE(UA_UserTokenPolicy, UA_TYPES_USERTOKENPOLICY)
SCRIPTED_TYPE(UA_UserNameIdentityToken, UA_TYPES_USERNAMEIDENTITYTOKEN)
SCRIPTED_TYPE(UA_BrowseResult, UA_TYPES_BROWSERESULT)
SCRIPTED_TYPE(UA_ReferenceDescription, UA_TYPES_REFERENCEDESCRIPTION)
SCRIPTED_TYPE(UA_MonitoredItemCreateResult, UA_TYPES_MONITOREDITEMCREATERESULT)
SCRIPTED_TYPE(UA_MonitoredItemNotification, UA_TYPES_MONITOREDITEMNOTIFICATION)
SCRIPTED_TYPE(UA_NotificationMessage, UA_TYPES_NOTIFICATIONMESSAGE)
SCRIPTED_TYPE(UA_DataChangeNotification, UA_TYPES_DATACHANGENOTIFICATION)
SCRIPTED_TYPE(UA_StatusChangeNotification, UA_TYPES_STATUSCHANGENOTIFICATION)
SCRIPTED_TYPE(UA_EventNotificationList, UA_TYPES_EVENTNOTIFICATIONLIST)
SCRIPTED_TYPE(UA_SubscriptionAcknowledgement, UA_TYPES_SUBSCRIPTIONACKNOWLEDGEMENT)

#define SCRIPTED_SERVICE(Name, NAME)                                                                         \
    SCRIPTED_TYPE(UA_##Name##Request, UA_TYPES_##NAME##REQUEST)                                              \
    SCRIPTED_TYPE(UA_##Name##Response, UA_TYPES_##NAME##RESPONSE)

SCRIPTED_SERVICE(OpenSecureChannel, OPENSECURECHANNEL)
SCRIPTED_SERVICE(CloseSecureChannel, CLOSESECURECHANNEL)
SCRIPTED_SERVICE(FindServers, FINDSERVERS)
SCRIPTED_SERVICE(GetEndpoints, GETENDPOINTS)
SCRIPTED_SERVICE(CreateSession, CREATESESSION)
SCRIPTED_SERVICE(ActivateSession, ACTIVATESESSION)
SCRIPTED_SERVICE(CloseSession, CLOSESESSION)
SCRIPTED_SERVICE(Read, READ)
SCRIPTED_SERVICE(Write, WRITE)
SCRIPTED_SERVICE(Browse, BROWSE)
SCRIPTED_SERVICE(BrowseNext, BROWSENEXT)
SCRIPTED_SERVICE(CreateSubscription, CREATESUBSCRIPTION)
SCRIPTED_SERVICE(DeleteSubscriptions, DELETESUBSCRIPTIONS)
SCRIPTED_SERVICE(CreateMonitoredItems, CREATEMONITOREDITEMS)
SCRIPTED_SERVICE(DeleteMonitoredItems, DELETEMONITOREDITEMS)
SCRIPTED_SERVICE(Publish, PUBLISH)
SCRIPTED_SERVICE(Republish, REPUBLISH)

#undef SCRIPTED_SERVICE
#undef SCRIPTED_TYPE

} // namespace scripted
