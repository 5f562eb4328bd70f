#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <type_traits>

#include <open62541/types.h>
#include <open62541/types_generated.h>

namespace plant_server {

/// What the server knows of one built-in type: its name, its description, the value of its scalar
/// demonstration node.
template <class T>
struct BuiltInType;

#define PLANT_SERVER_BUILT_IN_TYPE(Name, INDEX, sample)                                                      \
    template <>                                                                                              \
    struct BuiltInType<UA_##Name> {                                                                          \
        static constexpr const char* name = #Name;                                                           \
        static const UA_DataType* description() {                                                            \
            return &UA_TYPES[UA_TYPES_##INDEX];                                                              \
        }                                                                                                    \
        static auto scalar() {                                                                               \
            return sample;                                                                                   \
        }                                                                                                    \
    }

PLANT_SERVER_BUILT_IN_TYPE(Boolean, BOOLEAN, true);
PLANT_SERVER_BUILT_IN_TYPE(SByte, SBYTE, UA_SByte{-12});
PLANT_SERVER_BUILT_IN_TYPE(Byte, BYTE, UA_Byte{200});
PLANT_SERVER_BUILT_IN_TYPE(Int16, INT16, UA_Int16{-1234});
PLANT_SERVER_BUILT_IN_TYPE(UInt16, UINT16, UA_UInt16{54321});
PLANT_SERVER_BUILT_IN_TYPE(Int32, INT32, UA_Int32{-123456789});
PLANT_SERVER_BUILT_IN_TYPE(UInt32, UINT32, UA_UInt32{4000000000});
PLANT_SERVER_BUILT_IN_TYPE(Int64, INT64, UA_Int64{-9000000000000000000});
PLANT_SERVER_BUILT_IN_TYPE(UInt64, UINT64, UA_UInt64{18000000000000000000U});
PLANT_SERVER_BUILT_IN_TYPE(Float, FLOAT, UA_Float{3.25F});
PLANT_SERVER_BUILT_IN_TYPE(Double, DOUBLE, UA_Double{-2.718281828459045});
PLANT_SERVER_BUILT_IN_TYPE(String, STRING, std::string("Hello"));

#undef PLANT_SERVER_BUILT_IN_TYPE

template <class T>
struct TypeTag {
    using Type = T;
};

/// Calls `visit(TypeTag<T>())` for the twelve types Boolean to String, in the order of their identifiers.
template <class Visitor>
void forEachBuiltInType(const Visitor& visit) {
    visit(TypeTag<UA_Boolean>());
    visit(TypeTag<UA_SByte>());
    visit(TypeTag<UA_Byte>());
    visit(TypeTag<UA_Int16>());
    visit(TypeTag<UA_UInt16>());
    visit(TypeTag<UA_Int32>());
    visit(TypeTag<UA_UInt32>());
    visit(TypeTag<UA_Int64>());
    visit(TypeTag<UA_UInt64>());
    visit(TypeTag<UA_Float>());
    visit(TypeTag<UA_Double>());
    visit(TypeTag<UA_String>());
}

/// Element k of every demonstration array and matrix: it tells its own flat, row-major position.
template <class T>
auto element(std::size_t k) {
    if constexpr (std::is_same_v<T, UA_Boolean>)
        return k % 2 == 1;
    else if constexpr (std::is_same_v<T, UA_String>)
        return "Element " + std::to_string(k);
    else if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(static_cast<T>(k) + T(0.5));
    else
        return static_cast<T>(k);
}

} // namespace plant_server
