#include "uabase/arrays.h"

#include <new>
#include <utility>

namespace {

template <typename Element>
constexpr int typeIndex = -1;
template <>
constexpr int typeIndex<OpcUa_ReadValueId> = UA_TYPES_READVALUEID;
template <>
constexpr int typeIndex<OpcUa_DataValue> = UA_TYPES_DATAVALUE;
template <>
constexpr int typeIndex<OpcUa_WriteValue> = UA_TYPES_WRITEVALUE;
template <>
constexpr int typeIndex<OpcUa_DiagnosticInfo> = UA_TYPES_DIAGNOSTICINFO;
template <>
constexpr int typeIndex<OpcUa_ReferenceDescription> = UA_TYPES_REFERENCEDESCRIPTION;
template <>
constexpr int typeIndex<OpcUa_ApplicationDescription> = UA_TYPES_APPLICATIONDESCRIPTION;
template <>
constexpr int typeIndex<OpcUa_EndpointDescription> = UA_TYPES_ENDPOINTDESCRIPTION;
template <>
constexpr int typeIndex<OpcUa_MonitoredItemCreateRequest> = UA_TYPES_MONITOREDITEMCREATEREQUEST;
template <>
constexpr int typeIndex<OpcUa_MonitoredItemCreateResult> = UA_TYPES_MONITOREDITEMCREATERESULT;
template <>
constexpr int typeIndex<OpcUa_EventFieldList> = UA_TYPES_EVENTFIELDLIST;
template <>
constexpr int typeIndex<OpcUa_UInt32> = UA_TYPES_UINT32;

template <typename Element>
const UA_DataType* dataType() {
    static_assert(typeIndex<Element> >= 0, "no engine type for this element");
    return &UA_TYPES[typeIndex<Element>];
}

} // namespace

template <typename Element>
UaProtocolArray<Element>::UaProtocolArray(UaProtocolArray&& other) noexcept
    : m_length(other.m_length), m_elements(other.detach()) {}

template <typename Element>
UaProtocolArray<Element>& UaProtocolArray<Element>::operator=(UaProtocolArray&& other) noexcept {
    if (this != &other) {
        const OpcUa_UInt32 length = other.m_length;
        attach(length, other.detach());
    }
    return *this;
}

template <typename Element>
UaProtocolArray<Element>::~UaProtocolArray() {
    clear();
}

template <typename Element>
void UaProtocolArray<Element>::create(OpcUa_UInt32 length) {
    Element* elements = nullptr;
    if (length > 0) {
        elements = static_cast<Element*>(UA_Array_new(length, dataType<Element>()));
        if (elements == nullptr)
            throw std::bad_alloc();
    }
    attach(length, elements);
}

template <typename Element>
void UaProtocolArray<Element>::attach(OpcUa_UInt32 length, Element* elements) {
    clear();
    if (length == 0) {
        // The engine marks an empty array by a pointer that leads nowhere.
        UA_Array_delete(elements, 0, dataType<Element>());
        return;
    }
    m_length = length;
    m_elements = elements;
}

template <typename Element>
Element* UaProtocolArray<Element>::detach() {
    m_length = 0;
    return std::exchange(m_elements, nullptr);
}

template <typename Element>
void UaProtocolArray<Element>::clear() {
    UA_Array_delete(m_elements, m_length, dataType<Element>());
    m_length = 0;
    m_elements = nullptr;
}

template class UaProtocolArray<OpcUa_ReadValueId>;
template class UaProtocolArray<OpcUa_DataValue>;
template class UaProtocolArray<OpcUa_WriteValue>;
template class UaProtocolArray<OpcUa_DiagnosticInfo>;
template class UaProtocolArray<OpcUa_ReferenceDescription>;
template class UaProtocolArray<OpcUa_ApplicationDescription>;
template class UaProtocolArray<OpcUa_EndpointDescription>;
template class UaProtocolArray<OpcUa_MonitoredItemCreateRequest>;
template class UaProtocolArray<OpcUa_MonitoredItemCreateResult>;
template class UaProtocolArray<OpcUa_EventFieldList>;
template class UaProtocolArray<OpcUa_UInt32>;
