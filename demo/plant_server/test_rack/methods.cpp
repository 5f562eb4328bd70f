#include <cstddef>

#include "test_rack/test_rack.h"

namespace plant_server {
namespace {

UA_StatusCode add(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void*, const UA_NodeId*, void*,
                  size_t, const UA_Variant* inputs, size_t, UA_Variant* outputs) {
    const auto first = *static_cast<const UA_Int32*>(inputs[0].data);
    const auto second = *static_cast<const UA_Int32*>(inputs[1].data);
    UA_Int32 sum = 0;
    if (__builtin_add_overflow(first, second, &sum))
        return UA_STATUSCODE_BADOUTOFRANGE;
    return UA_Variant_setScalarCopy(&outputs[0], &sum, &UA_TYPES[UA_TYPES_INT32]);
}

} // namespace

void addMethods(const Branch& rack) {
    const UA_DataType* type = &UA_TYPES[UA_TYPES_INT32];
    rack.object("Methods").method(
        "Add", "Adds two numbers", add, nullptr,
        {argument("First", "First summand", type), argument("Second", "Second summand", type)},
        {argument("Sum", "First and second", type)});
}

} // namespace plant_server
