#include "uabase/arrays.h"

#include <algorithm>
#include <new>
#include <utility>

#include "element_type.h"
#include "engine.h"

template <typename Element>
UaProtocolArray<Element>::UaProtocolArray(UaProtocolArray&& other) noexcept
    : m_length(other.m_length), m_areViews(other.m_areViews), m_elements(other.detach()) {}

template <typename Element>
UaProtocolArray<Element>& UaProtocolArray<Element>::operator=(UaProtocolArray&& other) noexcept {
    // In this order an array that is moved onto itself stays as it is.
    const OpcUa_UInt32 length = other.m_length;
    const bool areViews = other.m_areViews;
    attach(length, other.detach());
    m_areViews = areViews;
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
        elements = static_cast<Element*>(UA_Array_new(length, elementType<Element>()));
        if (elements == nullptr)
            throw std::bad_alloc();
    }
    attach(length, elements);
}

template <typename Element>
void UaProtocolArray<Element>::createViews(OpcUa_UInt32 length) {
    if (m_areViews && length == m_length) {
        std::fill_n(m_elements, length, Element());
        return;
    }
    create(length);
    m_areViews = true;
}

template <typename Element>
void UaProtocolArray<Element>::attach(OpcUa_UInt32 length, Element* elements) {
    clear();
    if (length == 0) {
        // The engine marks an empty array by a pointer that leads nowhere.
        UA_Array_delete(elements, 0, elementType<Element>());
        return;
    }
    m_length = length;
    m_elements = elements;
}

template <typename Element>
Element* UaProtocolArray<Element>::detach() {
    m_length = 0;
    m_areViews = false;
    return std::exchange(m_elements, nullptr);
}

template <typename Element>
void UaProtocolArray<Element>::clear() {
    const OpcUa_UInt32 owned = m_areViews ? 0 : m_length;
    UA_Array_delete(detach(), owned, elementType<Element>());
}

template <typename Element>
void UaProtocolArray<Element>::replace(OpcUa_UInt32 index, const Element& value) {
    Element copy;
    throwIfBad(UA_copy(&value, &copy, elementType<Element>()));
    UA_clear(&m_elements[index], elementType<Element>());
    m_elements[index] = copy;
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
template class UaProtocolArray<OpcUa_Boolean>;
template class UaProtocolArray<OpcUa_SByte>;
template class UaProtocolArray<OpcUa_Byte>;
template class UaProtocolArray<OpcUa_Int16>;
template class UaProtocolArray<OpcUa_UInt16>;
template class UaProtocolArray<OpcUa_Int32>;
template class UaProtocolArray<OpcUa_UInt32>;
template class UaProtocolArray<OpcUa_Int64>;
template class UaProtocolArray<OpcUa_UInt64>;
template class UaProtocolArray<OpcUa_Float>;
template class UaProtocolArray<OpcUa_Double>;
template class UaProtocolArray<OpcUa_String>;
