#include "random_values.h"

#include <cstring>
#include <vector>

namespace {

template <typename Type>
Type& as(void* value) {
    return *static_cast<Type*>(value);
}

std::vector<const UA_DataType*> structureTypes() {
    std::vector<const UA_DataType*> types;
    for (const UA_DataType& type : UA_TYPES)
        if (type.typeKind == UA_DATATYPEKIND_STRUCTURE && type.binaryEncodingId.identifier.numeric != 0)
            types.push_back(&type);
    return types;
}

} // namespace

const UA_DataType& RandomValues::structureType() {
    static const std::vector<const UA_DataType*> types = structureTypes();
    return *types[below(types.size())];
}

void RandomValues::fill(const UA_DataType& type, void* value) {
    ++m_depth;
    fillNested(type, value);
    --m_depth;
}

void RandomValues::fillNested(const UA_DataType& type, void* value) {
    switch (type.typeKind) {
    case UA_DATATYPEKIND_BOOLEAN:
        as<UA_Boolean>(value) = oneIn(2);
        break;
    case UA_DATATYPEKIND_FLOAT:
        as<float>(value) = static_cast<float>(m_random());
        break;
    case UA_DATATYPEKIND_DOUBLE:
        as<double>(value) = static_cast<double>(m_random());
        break;
    case UA_DATATYPEKIND_ENUM:
        as<OpcUa_UInt32>(value) = static_cast<OpcUa_UInt32>(m_random() >> 1);
        break;
    case UA_DATATYPEKIND_STRING:
    case UA_DATATYPEKIND_BYTESTRING:
    case UA_DATATYPEKIND_XMLELEMENT:
        fill(as<UA_String>(value));
        break;
    case UA_DATATYPEKIND_NODEID:
        fill(as<UA_NodeId>(value));
        break;
    case UA_DATATYPEKIND_EXPANDEDNODEID:
        fill(as<UA_ExpandedNodeId>(value));
        break;
    case UA_DATATYPEKIND_QUALIFIEDNAME:
        fill(as<UA_QualifiedName>(value).name);
        break;
    case UA_DATATYPEKIND_LOCALIZEDTEXT:
        fill(as<UA_LocalizedText>(value).locale);
        fill(as<UA_LocalizedText>(value).text);
        break;
    case UA_DATATYPEKIND_EXTENSIONOBJECT:
        fill(as<UA_ExtensionObject>(value));
        break;
    case UA_DATATYPEKIND_DATAVALUE:
        fill(as<UA_DataValue>(value));
        break;
    case UA_DATATYPEKIND_VARIANT:
        fill(as<UA_Variant>(value));
        break;
    case UA_DATATYPEKIND_DIAGNOSTICINFO:
        fill(as<UA_DiagnosticInfo>(value));
        break;
    case UA_DATATYPEKIND_STRUCTURE:
        fillMembers(type, static_cast<char*>(value));
        break;
    default: // Whole numbers, times, GUIDs.
        fillBytes(value, type.memSize);
        break;
    }
}

void RandomValues::fillBytes(void* value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i)
        static_cast<OpcUa_Byte*>(value)[i] = static_cast<OpcUa_Byte>(m_random());
}

void RandomValues::fillArray(const UA_DataType& type, std::size_t& length, void*& elements) {
    if (oneIn(4))
        return;
    length = deep() ? 0 : below(oneIn(10) ? 30 : 4);
    elements = UA_Array_new(length, &type);
    for (std::size_t i = 0; i < length; ++i)
        fill(type, static_cast<char*>(elements) + i * type.memSize);
}

void RandomValues::fillMembers(const UA_DataType& type, char* place) {
    for (std::size_t i = 0; i < type.membersSize; ++i) {
        const UA_DataTypeMember& member = type.members[i];
        place += member.padding;
        if (member.isArray) {
            fillArray(*member.memberType, as<std::size_t>(place), as<void*>(place + sizeof(std::size_t)));
            place += sizeof(std::size_t) + sizeof(void*);
        } else {
            fill(*member.memberType, place);
            place += member.memberType->memSize;
        }
    }
}

void RandomValues::fill(UA_String& text) {
    if (oneIn(4))
        return;
    text.length = below(oneIn(20) ? 2000 : 40);
    text.data = static_cast<OpcUa_Byte*>(UA_Array_new(text.length, &UA_TYPES[UA_TYPES_BYTE]));
    fillBytes(text.data, text.length);
}

void RandomValues::fill(UA_NodeId& id) {
    id.namespaceIndex = oneIn(2) ? 0 : static_cast<OpcUa_UInt16>(m_random());
    switch (below(4)) {
    case 0:
        id.identifierType = UA_NODEIDTYPE_STRING;
        fill(id.identifier.string);
        break;
    case 1:
        id.identifierType = UA_NODEIDTYPE_BYTESTRING;
        fill(id.identifier.byteString);
        break;
    case 2:
        id.identifierType = UA_NODEIDTYPE_GUID;
        fillBytes(&id.identifier.guid, sizeof id.identifier.guid);
        break;
    default: // Of any of the three sizes that a number may have.
        id.identifier.numeric = static_cast<OpcUa_UInt32>(m_random() >> (8 * below(4)));
        break;
    }
}

void RandomValues::fill(UA_ExpandedNodeId& id) {
    fill(id.nodeId);
    if (oneIn(2)) {
        fill(id.namespaceUri);
        // The one or the other.
        id.nodeId.namespaceIndex =
            id.namespaceUri.data == nullptr ? id.nodeId.namespaceIndex : OpcUa_UInt16{0};
        id.serverIndex = static_cast<OpcUa_UInt32>(below(3));
    }
}

void RandomValues::fill(UA_ExtensionObject& object) {
    if (oneIn(2) && !deep()) {
        const UA_DataType& type = structureType();
        void* const value = UA_new(&type);
        fill(type, value);
        UA_ExtensionObject_setValue(&object, value, &type);
        return;
    }
    constexpr UA_ExtensionObjectEncoding undecoded[] = {UA_EXTENSIONOBJECT_ENCODED_NOBODY,
                                                        UA_EXTENSIONOBJECT_ENCODED_BYTESTRING,
                                                        UA_EXTENSIONOBJECT_ENCODED_XML};
    object.encoding = undecoded[below(3)];
    fill(object.content.encoded.typeId);
    // None of the engine's own.
    object.content.encoded.typeId.namespaceIndex = 7;
    if (object.encoding != UA_EXTENSIONOBJECT_ENCODED_NOBODY)
        fill(object.content.encoded.body);
}

void RandomValues::fill(UA_DataValue& value) {
    value.hasValue = !oneIn(4);
    if (value.hasValue)
        fill(UA_TYPES[UA_TYPES_VARIANT], &value.value);
    value.hasStatus = oneIn(2);
    value.hasSourceTimestamp = oneIn(2);
    value.hasServerTimestamp = oneIn(2);
    value.hasSourcePicoseconds = oneIn(4);
    value.hasServerPicoseconds = oneIn(4);
}

void RandomValues::fill(UA_DiagnosticInfo& info) {
    info.hasSymbolicId = oneIn(2);
    info.hasNamespaceUri = oneIn(2);
    info.hasLocale = oneIn(2);
    info.hasLocalizedText = oneIn(2);
    info.hasInnerStatusCode = oneIn(2);
    info.hasAdditionalInfo = oneIn(2);
    if (info.hasAdditionalInfo)
        fill(info.additionalInfo);
    info.hasInnerDiagnosticInfo = oneIn(2) && !deep();
    if (info.hasInnerDiagnosticInfo) {
        info.innerDiagnosticInfo = UA_DiagnosticInfo_new();
        fill(UA_TYPES[UA_TYPES_DIAGNOSTICINFO], info.innerDiagnosticInfo);
    }
}

void RandomValues::fill(UA_Variant& variant) {
    if (oneIn(8) || deep())
        return;
    const bool isArray = oneIn(2);
    // Not every structure may be one: that is an extension object then.
    const UA_DataType* type = oneIn(6) ? &structureType() : &UA_TYPES[below(UA_TYPES_DIAGNOSTICINFO + 1)];
    if (type->typeKind == UA_DATATYPEKIND_VARIANT && !isArray)
        type = &UA_TYPES[UA_TYPES_LOCALIZEDTEXT];
    variant.type = type;
    if (!isArray) {
        variant.data = UA_new(type);
        fill(*type, variant.data);
        return;
    }
    fillArray(*type, variant.arrayLength, variant.data);
    if (variant.arrayLength > 0 && oneIn(3))
        fillDimensions(variant);
}

void RandomValues::fillDimensions(UA_Variant& variant) {
    variant.arrayDimensionsSize = 3;
    variant.arrayDimensions = static_cast<OpcUa_UInt32*>(UA_Array_new(3, &UA_TYPES[UA_TYPES_UINT32]));
    variant.arrayDimensions[0] = 1;
    variant.arrayDimensions[1] = variant.arrayLength % 2 == 0 ? 2 : 1;
    variant.arrayDimensions[2] = static_cast<OpcUa_UInt32>(variant.arrayLength) / variant.arrayDimensions[1];
}
