#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "encoding/empty_matrices.h"
#include "encoding/heap_use.h"
#include "encoding/walked_bytes.h"
#include "uabase/byte_view.h"
#include "uastack/protocol_types.h"
#include "uastack/status_code.h"

namespace UaClientSdk {

/// Walks over binary-encoded values (OPC UA Part 6, 5.2) without decoding them, and adds up the memory that
/// the engine's decoder would take for them. Nothing is allocated but for the notes of empty matrices.
///
/// What it lets pass the engine decodes, too, and consumes the same bytes. The reverse does not hold: refused
/// are also an extension object whose body is not as long as it says, an enumeration's value below 0, and
/// what is nested deeper than 64 levels.
class EncodingWalk {
public:
    /// @param memoryBound  what decoding may take, in bytes of the heap
    EncodingWalk(UaByteView bytes, std::size_t memoryBound) : m_bytes(bytes), m_heap(memoryBound) {}

    /// Walks over a value or an array of the type. False when it can't be decoded or would take too much:
    /// then the walk is over.
    bool value(const UA_DataType& type);
    bool array(const UA_DataType& elementType);

    /// How many elements the array has that comes next; none when that is cut off.
    std::optional<std::size_t> nextLength() const;

    /// Why the walk ended: BadDecodingError or BadEncodingLimitsExceeded.
    OpcUa_StatusCode failure() const {
        return m_isTooDeep || m_heap.isTooMuch() ? OpcUa_BadEncodingLimitsExceeded : OpcUa_BadDecodingError;
    }

    /// Bytes walked over.
    std::size_t position() const { return m_bytes.position(); }

    /// What decoding all that was walked over takes of the heap, with the heap's own overhead.
    std::size_t memory() const { return m_heap.taken(); }

    const std::vector<EmptyMatrix>& emptyMatrices() const { return m_emptyMatrices; }

private:
    struct TypeId {
        bool isNumeric = false;
        OpcUa_UInt16 namespaceIndex = 0;
        OpcUa_UInt32 number = 0;
    };

    bool string();
    bool nodeId(TypeId& id);
    bool expandedNodeId();
    bool localizedText();
    bool enumeration();
    bool nested(const UA_DataType& type);
    bool structure(const UA_DataType& type);
    bool extensionObject(std::size_t memSize);
    bool extensionObjectBody(const TypeId& id, std::size_t memSize);
    bool dataValue();
    bool diagnosticInfo();
    bool variant();
    bool variantScalar(const UA_DataType& type);
    bool dimensions(std::size_t arrayLength, std::size_t variantPosition);
    bool noteEmptyMatrix(std::size_t variantPosition);

    WalkedBytes m_bytes;
    HeapUse m_heap;
    std::size_t m_variants = 0;
    unsigned m_depth = 0;
    bool m_isTooDeep = false;
    std::vector<EmptyMatrix> m_emptyMatrices;
};

} // namespace UaClientSdk
