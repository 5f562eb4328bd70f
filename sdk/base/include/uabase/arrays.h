#pragma once

#include <cstddef>

#include "uastack/export.h"
#include "uastack/protocol_types.h"

/// An owned array of protocol records, cleared with everything that its elements hold. Movable, not copyable.
template <typename Element>
class UASDK_EXPORT UaProtocolArray {
public:
    UaProtocolArray() = default;
    UaProtocolArray(const UaProtocolArray&) = delete;
    UaProtocolArray& operator=(const UaProtocolArray&) = delete;
    UaProtocolArray(UaProtocolArray&& other) noexcept;
    UaProtocolArray& operator=(UaProtocolArray&& other) noexcept;
    ~UaProtocolArray();

    /// Replaces the content by `length` zeroed elements. Throws std::bad_alloc.
    void create(OpcUa_UInt32 length);
    /// The same with elements that only point to what belongs to others: of such an array clear() frees the
    /// elements and nothing that they hold. As many views as there are already take their place.
    void createViews(OpcUa_UInt32 length);
    /// Takes over an array that the engine allocated; the old content is cleared.
    void attach(OpcUa_UInt32 length, Element* elements);
    /// Gives the array away; this object is empty afterwards.
    Element* detach();
    void clear();
    /// Puts a deep copy of `value` in the place of an element. Not for views.
    void replace(OpcUa_UInt32 index, const Element& value);

    OpcUa_UInt32 length() const { return m_length; }
    Element& operator[](OpcUa_UInt32 index) { return m_elements[index]; }
    const Element& operator[](OpcUa_UInt32 index) const { return m_elements[index]; }
    Element* rawData() { return m_elements; }
    const Element* rawData() const { return m_elements; }
    const Element* begin() const { return m_elements; }
    const Element* end() const { return m_elements + m_length; }

private:
    OpcUa_UInt32 m_length = 0;
    bool m_areViews = false;
    Element* m_elements = nullptr;
};

// Instantiated in libuabasecpp only: whoever uses an array needs no symbol of the engine.
extern template class UaProtocolArray<OpcUa_ReadValueId>;
extern template class UaProtocolArray<OpcUa_DataValue>;
extern template class UaProtocolArray<OpcUa_WriteValue>;
extern template class UaProtocolArray<OpcUa_DiagnosticInfo>;
extern template class UaProtocolArray<OpcUa_ReferenceDescription>;
extern template class UaProtocolArray<OpcUa_ApplicationDescription>;
extern template class UaProtocolArray<OpcUa_EndpointDescription>;
extern template class UaProtocolArray<OpcUa_MonitoredItemCreateRequest>;
extern template class UaProtocolArray<OpcUa_MonitoredItemCreateResult>;
extern template class UaProtocolArray<OpcUa_EventFieldList>;
extern template class UaProtocolArray<OpcUa_Boolean>;
extern template class UaProtocolArray<OpcUa_SByte>;
extern template class UaProtocolArray<OpcUa_Byte>;
extern template class UaProtocolArray<OpcUa_Int16>;
extern template class UaProtocolArray<OpcUa_UInt16>;
extern template class UaProtocolArray<OpcUa_Int32>;
/// OpcUa_StatusCode and OpcUa_UInt32 are one C++ type, so this instance serves both arrays below.
extern template class UaProtocolArray<OpcUa_UInt32>;
extern template class UaProtocolArray<OpcUa_Int64>;
extern template class UaProtocolArray<OpcUa_UInt64>;
extern template class UaProtocolArray<OpcUa_Float>;
extern template class UaProtocolArray<OpcUa_Double>;
extern template class UaProtocolArray<OpcUa_String>;

using UaReadValueIds = UaProtocolArray<OpcUa_ReadValueId>;
using UaDataValues = UaProtocolArray<OpcUa_DataValue>;
using UaWriteValues = UaProtocolArray<OpcUa_WriteValue>;
using UaDiagnosticInfos = UaProtocolArray<OpcUa_DiagnosticInfo>;
using UaReferenceDescriptions = UaProtocolArray<OpcUa_ReferenceDescription>;
using UaApplicationDescriptions = UaProtocolArray<OpcUa_ApplicationDescription>;
using UaEndpointDescriptions = UaProtocolArray<OpcUa_EndpointDescription>;
using UaMonitoredItemCreateRequests = UaProtocolArray<OpcUa_MonitoredItemCreateRequest>;
using UaMonitoredItemCreateResults = UaProtocolArray<OpcUa_MonitoredItemCreateResult>;
using UaEventFieldLists = UaProtocolArray<OpcUa_EventFieldList>;
using UaStatusCodeArray = UaProtocolArray<OpcUa_StatusCode>;
using UaBooleanArray = UaProtocolArray<OpcUa_Boolean>;
using UaSByteArray = UaProtocolArray<OpcUa_SByte>;
using UaInt16Array = UaProtocolArray<OpcUa_Int16>;
using UaUInt16Array = UaProtocolArray<OpcUa_UInt16>;
using UaInt32Array = UaProtocolArray<OpcUa_Int32>;
using UaUInt32Array = UaProtocolArray<OpcUa_UInt32>;
using UaInt64Array = UaProtocolArray<OpcUa_Int64>;
using UaUInt64Array = UaProtocolArray<OpcUa_UInt64>;
using UaFloatArray = UaProtocolArray<OpcUa_Float>;
using UaDoubleArray = UaProtocolArray<OpcUa_Double>;
using UaStringArray = UaProtocolArray<OpcUa_String>;
