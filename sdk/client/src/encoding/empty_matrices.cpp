#include "encoding/empty_matrices.h"

#include <cstring>
#include <vector>

namespace UaClientSdk {
namespace {

// OPC UA Part 6, 5.2.2.16: of the variant's first byte.
constexpr OpcUa_Byte typeBits = 0x3F;
constexpr OpcUa_Byte byteArray = 0x80 | OpcUaType_Byte;

/// Finds variants in a decoded value in the order in which they were encoded.
class Restoration {
public:
    Restoration(UaByteView bytes, const std::vector<EmptyMatrix>& matrices)
        : m_bytes(bytes), m_next(matrices.data()), m_end(matrices.data() + matrices.size()) {}

    void visit(const UA_DataType& type, void* value) {
        switch (type.typeKind) {
        case UA_DATATYPEKIND_VARIANT:
            visit(*static_cast<UA_Variant*>(value));
            break;
        case UA_DATATYPEKIND_DATAVALUE:
            visit(*static_cast<UA_DataValue*>(value));
            break;
        case UA_DATATYPEKIND_EXTENSIONOBJECT:
            visit(*static_cast<UA_ExtensionObject*>(value));
            break;
        case UA_DATATYPEKIND_STRUCTURE:
            visitMembers(type, static_cast<char*>(value));
            break;
        default:
            break;
        }
    }

private:
    void visit(UA_DataValue& value) {
        if (value.hasValue)
            visit(value.value);
    }

    void visit(const UA_ExtensionObject& object) {
        if (object.encoding == UA_EXTENSIONOBJECT_DECODED)
            visit(*object.content.decoded.type, object.content.decoded.data);
    }

    void visit(UA_Variant& variant) {
        const std::size_t number = m_variants++;
        if (m_next != m_end && m_next->variant == number) {
            restore(variant, m_bytes.data[m_next->position]);
            ++m_next;
        } else if (variant.type != nullptr) {
            visitArray(*variant.type, variant.data, UA_Variant_isScalar(&variant) ? 1 : variant.arrayLength);
        }
    }

    void visitMembers(const UA_DataType& type, char* place) {
        for (std::size_t i = 0; i < type.membersSize; ++i) {
            const UA_DataTypeMember& member = type.members[i];
            place += member.padding;
            if (member.isArray) {
                std::size_t length = 0;
                void* elements = nullptr;
                std::memcpy(&length, place, sizeof length);
                std::memcpy(static_cast<void*>(&elements), place + sizeof length, sizeof elements);
                visitArray(*member.memberType, elements, length);
                place += sizeof length + sizeof elements;
            } else {
                visit(*member.memberType, place);
                place += member.memberType->memSize;
            }
        }
    }

    void visitArray(const UA_DataType& type, void* elements, std::size_t length) {
        if (type.pointerFree)
            return;
        for (std::size_t i = 0; i < length; ++i)
            visit(type, static_cast<char*>(elements) + i * type.memSize);
    }

    static void restore(UA_Variant& variant, OpcUa_Byte firstByte) {
        const std::size_t count = variant.arrayLength / sizeof(OpcUa_UInt32) - 1;
        auto* dimensions = static_cast<OpcUa_UInt32*>(variant.data);
        std::memmove(dimensions, dimensions + 1, count * sizeof(OpcUa_UInt32));
        if (count == 0) {
            UA_free(dimensions);
            dimensions = nullptr;
        }
        variant.type = &UA_TYPES[(firstByte & typeBits) - 1];
        variant.arrayLength = 0;
        variant.data = UA_EMPTY_ARRAY_SENTINEL;
        variant.arrayDimensionsSize = count;
        variant.arrayDimensions = dimensions;
    }

    UaByteView m_bytes;
    const EmptyMatrix* m_next;
    const EmptyMatrix* m_end;
    std::size_t m_variants = 0;
};

} // namespace

std::vector<OpcUa_Byte> disguiseEmptyMatrices(UaByteView bytes, const std::vector<EmptyMatrix>& matrices) {
    std::vector<OpcUa_Byte> copy(bytes.data, bytes.data + bytes.size);
    for (const EmptyMatrix& matrix : matrices) {
        OpcUa_Byte* const length = copy.data() + matrix.position + 1;
        OpcUa_Int32 dimensions = 0;
        std::memcpy(&dimensions, length + sizeof dimensions, sizeof dimensions);
        const OpcUa_UInt32 count = dimensions > 0 ? static_cast<OpcUa_UInt32>(dimensions) : 0;
        const auto byteCount = static_cast<OpcUa_UInt32>((1 + count) * sizeof(OpcUa_UInt32));
        copy[matrix.position] = byteArray;
        std::memcpy(length, &byteCount, sizeof byteCount);
    }
    return copy;
}

void restoreEmptyMatrices(UaByteView bytes, const std::vector<EmptyMatrix>& matrices, const UA_DataType& type,
                          void* decoded) {
    Restoration(bytes, matrices).visit(type, decoded);
}

} // namespace UaClientSdk
