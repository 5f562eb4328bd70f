#include "values/value_service.h"

#include "client/call_settings.h"
#include "client/node_record.h"
#include "uaclient/session.h"

void lendValue(OpcUa_WriteValue& element, const UaVariant& value) {
    element.value.value = value.view();
    element.value.hasValue = true;
}

UaStatus readValues(UaClientSdk::UaSession& session, const UaReadValueIds& nodes, UaDataValues& values) {
    UaClientSdk::ServiceSettings settings = callSettings();
    UaDiagnosticInfos diagnostics;
    const UaStatus status =
        session.read(settings, 0, OpcUa_TimestampsToReturn_Both, nodes, values, diagnostics);
    return complete(status, nodes.length(), values);
}

void readValues(UaClientSdk::UaSession& session, const UaClientSdk::ReadSequence& sequence) {
    UaClientSdk::ServiceSettings settings = callSettings();
    session.read(settings, 0, OpcUa_TimestampsToReturn_Both, sequence);
}

UaStatus readValue(UaClientSdk::UaSession& session, const UaNodeId& id, UaDataValues& values) {
    UaReadValueIds nodes;
    nodes.createViews(1);
    nameValue(nodes[0], id);
    return readValues(session, nodes, values);
}

bool readGoodValue(UaClientSdk::UaSession& session, const OpcUaNode& node, UaVariant& value) {
    UaDataValues values;
    UaStatus status = readValue(session, idOf(node), values);
    if (!status.isBad()) {
        value.attach(values[0].value);
        status = values[0].status;
        if (!status.isNotGood()) {
            return true;
        }
    }
    traceNotRead(node, status);
    return false;
}

UaStatus writeValues(UaClientSdk::UaSession& session, const UaWriteValues& values,
                     UaStatusCodeArray& results) {
    UaClientSdk::ServiceSettings settings = callSettings();
    UaDiagnosticInfos diagnostics;
    const UaStatus status = session.write(settings, values, results, diagnostics);
    return complete(status, values.length(), results);
}

bool writeValue(UaClientSdk::UaSession& session, const OpcUaNode& node, const UaVariant& value) {
    const UaNodeId id = idOf(node);
    UaWriteValues values;
    values.createViews(1);
    nameValue(values[0], id);
    lendValue(values[0], value);
    UaStatusCodeArray results;
    UaStatus status = writeValues(session, values, results);
    if (!status.isBad()) {
        status = results[0];
        if (!status.isNotGood()) {
            return true;
        }
    }
    traceNotWritten(node, status);
    return false;
}

void traceNotRead(const OpcUaNode& node, UaStatus status) {
    traceRefusal("values", node, "read", status);
}

void traceNotWritten(const OpcUaNode& node, UaStatus status) {
    traceRefusal("values", node, "written", status);
}
