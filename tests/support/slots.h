#pragma once

#include <cstddef>
#include <cstring>

#include "OpcUaClientInterface.h"

// The virtual operations as an application compiled long ago calls them: by slot number.
namespace test_support {

using Slot = void (*)();

inline Slot slotOf(const void* object, std::size_t index) {
    const Slot* table = nullptr;
    std::memcpy(&table, object, sizeof table);
    return table[index];
}

template <class Function>
Function* slotAs(const void* object, std::size_t index) {
    return reinterpret_cast<Function*>(slotOf(object, index));
}

/// Where a facade keeps its implementation.
inline char* implementationPlace(COpcUaClientInterface& facade) {
    return reinterpret_cast<char*>(&facade) + sizeof(void*);
}

inline COpcUaClientImp* implementationOf(COpcUaClientInterface& facade) {
    COpcUaClientImp* implementation = nullptr;
    std::memcpy(&implementation, implementationPlace(facade), sizeof implementation);
    return implementation;
}

} // namespace test_support
