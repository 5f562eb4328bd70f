#include "uabase/held_bytes.h"

#include <cstddef>
#include <cstdint>

#include <open62541/types.h>

namespace {

template <typename Value>
const Value& as(const void* value) {
    return *static_cast<const Value*>(value);
}

std::size_t heldByArray(const void* elements, std::size_t count, const UA_DataType& type) {
    if (elements == nullptr || count == 0)
        return 0;
    std::size_t bytes = heapBlock(count * type.memSize);
    if (!type.pointerFree) {
        const auto* element = static_cast<const std::uint8_t*>(elements);
        for (std::size_t i = 0; i < count; ++i, element += type.memSize)
            bytes += heldBytes(element, type);
    }
    return bytes;
}

std::size_t heldByText(const UA_String& text) {
    return text.length == 0 ? 0 : heapBlock(text.length);
}

std::size_t heldByNodeId(const UA_NodeId& id) {
    const bool isText =
        id.identifierType == UA_NODEIDTYPE_STRING || id.identifierType == UA_NODEIDTYPE_BYTESTRING;
    return isText ? heldByText(id.identifier.string) : 0;
}

std::size_t heldByExtensionObject(const UA_ExtensionObject& object) {
    if (object.encoding == UA_EXTENSIONOBJECT_DECODED)
        return heldByArray(object.content.decoded.data, 1, *object.content.decoded.type);
    if (object.encoding == UA_EXTENSIONOBJECT_DECODED_NODELETE)
        return 0;
    return heldByNodeId(object.content.encoded.typeId) + heldByText(object.content.encoded.body);
}

std::size_t heldByDiagnosticInfo(const UA_DiagnosticInfo& info) {
    const std::size_t bytes = heldByText(info.additionalInfo);
    return info.innerDiagnosticInfo == nullptr
               ? bytes
               : bytes + heapBlock(sizeof info) + heldByDiagnosticInfo(*info.innerDiagnosticInfo);
}

/// The member whose bytes begin at `place`.
std::size_t heldByMember(const std::uint8_t* place, const UA_DataTypeMember& member) {
    const UA_DataType& type = *member.memberType;
    if (member.isArray) {
        const auto count = as<std::size_t>(place);
        return heldByArray(as<const void*>(place + sizeof count), count, type);
    }
    return member.isOptional ? heldByArray(as<const void*>(place), 1, type) : heldBytes(place, type);
}

std::size_t heldByStructure(const std::uint8_t* place, const UA_DataType& type) {
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < type.membersSize; ++i) {
        const UA_DataTypeMember& member = type.members[i];
        place += member.padding;
        bytes += heldByMember(place, member);
        place += member.isArray      ? sizeof(std::size_t) + sizeof(void*)
                 : member.isOptional ? sizeof(void*)
                                     : member.memberType->memSize;
    }
    return bytes;
}

std::size_t heldByUnion(const std::uint8_t* place, const UA_DataType& type) {
    const auto selected = as<UA_UInt32>(place);
    if (selected == 0 || selected > type.membersSize)
        return 0;
    const UA_DataTypeMember& member = type.members[selected - 1];
    return heldByMember(place + member.padding, member);
}

std::size_t heldByVariant(const UA_Variant& value) {
    if (value.type == nullptr)
        return 0;
    const std::size_t dimensions =
        value.arrayDimensionsSize == 0 ? 0 : heapBlock(value.arrayDimensionsSize * sizeof(UA_UInt32));
    if (value.data <= UA_EMPTY_ARRAY_SENTINEL)
        return dimensions;
    const std::size_t count = UA_Variant_isScalar(&value) ? 1 : value.arrayLength;
    return heldByArray(value.data, count, *value.type) + dimensions;
}

} // namespace

std::size_t heldBytes(const void* value, const UA_DataType& type) {
    if (type.pointerFree)
        return 0;
    switch (type.typeKind) {
    case UA_DATATYPEKIND_STRING:
    case UA_DATATYPEKIND_BYTESTRING:
    case UA_DATATYPEKIND_XMLELEMENT:
        return heldByText(as<UA_String>(value));
    case UA_DATATYPEKIND_NODEID:
        return heldByNodeId(as<UA_NodeId>(value));
    case UA_DATATYPEKIND_EXPANDEDNODEID:
        return heldByNodeId(as<UA_ExpandedNodeId>(value).nodeId) +
               heldByText(as<UA_ExpandedNodeId>(value).namespaceUri);
    case UA_DATATYPEKIND_QUALIFIEDNAME:
        return heldByText(as<UA_QualifiedName>(value).name);
    case UA_DATATYPEKIND_LOCALIZEDTEXT:
        return heldByText(as<UA_LocalizedText>(value).locale) + heldByText(as<UA_LocalizedText>(value).text);
    case UA_DATATYPEKIND_EXTENSIONOBJECT:
        return heldByExtensionObject(as<UA_ExtensionObject>(value));
    case UA_DATATYPEKIND_DATAVALUE:
        return heldByVariant(as<UA_DataValue>(value).value);
    case UA_DATATYPEKIND_VARIANT:
        return heldByVariant(as<UA_Variant>(value));
    case UA_DATATYPEKIND_DIAGNOSTICINFO:
        return heldByDiagnosticInfo(as<UA_DiagnosticInfo>(value));
    case UA_DATATYPEKIND_UNION:
        return heldByUnion(static_cast<const std::uint8_t*>(value), type);
    default:
        return heldByStructure(static_cast<const std::uint8_t*>(value), type);
    }
}
