#include "test_rack.h"

namespace plant_server {
namespace {

void setStatus(UA_Server* server, const NodeId& node, UA_StatusCode status, const Value& value) {
    UA_DataValue data;
    UA_DataValue_init(&data);
    data.hasStatus = true;
    data.status = status;
    data.hasValue = value.get().type != nullptr;
    data.value = value.get();
    require(UA_Server_writeDataValue(server, node.get(), data), "set the status of " + node.text());
}

} // namespace

void addStatuses(const Branch& rack) {
    const Branch folder = rack.folder("Status", "Values with a status");
    const auto add = [&](const std::string& name, UA_StatusCode status, const Value& value) {
        const NodeId node =
            folder.variable(name, Value::scalar(UA_Int32(42)), described(UA_StatusCode_name(status)));
        setStatus(folder.server(), node, status, value);
    };
    const Value value = Value::scalar(UA_Int32(42));
    add("Bad", UA_STATUSCODE_BADSENSORFAILURE, value);
    add("BadWithoutValue", UA_STATUSCODE_BADNOCOMMUNICATION, Value());
    add("Uncertain", UA_STATUSCODE_UNCERTAINLASTUSABLEVALUE, value);
    add("UncertainWithoutValue", UA_STATUSCODE_UNCERTAINNOCOMMUNICATIONLASTUSABLEVALUE, Value());
    add("GoodLocalOverride", UA_STATUSCODE_GOODLOCALOVERRIDE, value);
}

} // namespace plant_server
