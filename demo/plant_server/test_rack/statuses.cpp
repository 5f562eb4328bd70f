#include "test_rack/test_rack.h"

namespace plant_server {
namespace {

void setStatus(UA_Server* server, const NodeId& node, UA_StatusCode status, const Value& value) {
    UA_DataValue data;
    UA_DataValue_init(&data);
    data.hasStatus = true;
    data.status = status;
    data.hasValue = true;
    data.value = value.get();
    require(UA_Server_writeDataValue(server, node.get(), data), "set the status of " + node.text());
}

/// A value that a device never delivered: the stack gives the status alone.
template <UA_StatusCode status>
UA_StatusCode readNothing(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void*, UA_Boolean,
                          const UA_NumericRange*, UA_DataValue*) {
    return status;
}

} // namespace

void addStatuses(const Branch& rack) {
    const Branch folder = rack.folder("Status", "Values with a status");
    const auto add = [&](const std::string& name, UA_StatusCode status) {
        const Value value = Value::scalar(UA_Int32(42));
        const NodeId node = folder.variable(name, value, described(UA_StatusCode_name(status)));
        setStatus(folder.server(), node, status, value);
    };
    add("Bad", UA_STATUSCODE_BADSENSORFAILURE);
    add("Uncertain", UA_STATUSCODE_UNCERTAINLASTUSABLEVALUE);
    add("GoodLocalOverride", UA_STATUSCODE_GOODLOCALOVERRIDE);

    // The stack reads a value when its node is added, and takes a status for a failure: first the node, then
    // the status.
    const auto addWithoutValue = [&](const std::string& name, UA_StatusCode status, auto read) {
        const VariableOptions options = described(UA_StatusCode_name(status), readOnly);
        const NodeId node = folder.variable(name, Value::scalar(UA_Int32(0)), options);
        require(UA_Server_setVariableNode_dataSource(folder.server(), node.get(), {read, nullptr}),
                "take the value of " + node.text() + " away");
    };
    constexpr UA_StatusCode bad = UA_STATUSCODE_BADNOCOMMUNICATION;
    constexpr UA_StatusCode uncertain = UA_STATUSCODE_UNCERTAINNOCOMMUNICATIONLASTUSABLEVALUE;
    addWithoutValue("BadWithoutValue", bad, readNothing<bad>);
    addWithoutValue("UncertainWithoutValue", uncertain, readNothing<uncertain>);
}

} // namespace plant_server
