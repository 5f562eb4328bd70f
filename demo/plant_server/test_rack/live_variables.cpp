#include <memory>
#include <utility>

#include "test_rack/test_rack.h"

namespace plant_server {

UA_StatusCode LiveVariables::read(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void* context,
                                  UA_Boolean, const UA_NumericRange* range, UA_DataValue* result) {
    if (range != nullptr)
        return UA_STATUSCODE_BADINDEXRANGENODATA;
    const Live& live = *static_cast<const Live*>(context);
    const Value value = live.read ? live.read() : live.value;
    result->hasValue = true;
    return UA_Variant_copy(&value.get(), &result->value);
}

UA_StatusCode LiveVariables::write(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void* context,
                                   const UA_NumericRange* range, const UA_DataValue* written) {
    if (range != nullptr)
        return UA_STATUSCODE_BADINDEXRANGENODATA;
    Live& live = *static_cast<Live*>(context);
    const UA_StatusCode status = live.write(written->value);
    if (status == UA_STATUSCODE_GOOD) {
        Value value;
        require(UA_Variant_copy(&written->value, &value.get()), "keep a written value");
        live.value = std::move(value);
    }
    return status;
}

void LiveVariables::gauge(const Branch& branch, const std::string& name, const UA_DataType* type,
                          const std::string& description, Read valueOf) {
    auto live = std::make_unique<Live>();
    live->read = std::move(valueOf);
    VariableOptions options = described(description, readOnly);
    options.context = live.get();
    branch.source(name, type, {read, nullptr}, options);
    m_variables.push_back(std::move(live));
}

void LiveVariables::addControl(const Branch& branch, const std::string& name, Value initial,
                               const std::string& description, Write onWriting) {
    auto live = std::make_unique<Live>();
    live->value = std::move(initial);
    live->write = std::move(onWriting);
    VariableOptions options = described(description);
    options.context = live.get();
    branch.source(name, live->value.get().type, {read, write}, options);
    m_variables.push_back(std::move(live));
}

} // namespace plant_server
