#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

#include "uastack/protocol_types.h"

/// Values of any of the engine's types, made up: the same from the same seed.
class RandomValues {
public:
    explicit RandomValues(unsigned seed) : m_random(seed) {}

    /// @param value  initialised
    void fill(const UA_DataType& type, void* value);

private:
    std::size_t below(std::size_t limit) { return m_random() % limit; }
    bool oneIn(std::size_t times) { return below(times) == 0; }
    bool deep() const { return m_depth > 6; }

    void fillBytes(void* value, std::size_t size);
    void fillArray(const UA_DataType& type, std::size_t& length, void*& elements);
    void fillMembers(const UA_DataType& type, char* place);
    void fill(UA_String& text);
    void fill(UA_NodeId& id);
    void fill(UA_ExpandedNodeId& id);
    void fill(UA_ExtensionObject& object);
    void fill(UA_DataValue& value);
    void fill(UA_DiagnosticInfo& info);
    void fill(UA_Variant& variant);
    void fillDimensions(UA_Variant& variant);
    void fillNested(const UA_DataType& type, void* value);
    const UA_DataType& structureType();

    std::mt19937 m_random;
    unsigned m_depth = 0;
};
