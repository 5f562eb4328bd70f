#include "values/value_service.h"

#include "client/call_settings.h"
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
    return complete(status, nodes, values);
}

UaStatus readValue(UaClientSdk::UaSession& session, const UaNodeId& id, UaDataValues& values) {
    UaReadValueIds nodes;
    nodes.createViews(1);
    nameValue(nodes[0], id);
    return readValues(session, nodes, values);
}

bool readGoodValue(UaClientSdk::UaSession& session, const UaNodeId& id, UaVariant& value) {
    UaDataValues values;
    if (readValue(session, id, values).isBad()) {
        return false;
    }
    value.attach(values[0].value);
    return !OpcUa_IsNotGood(values[0].status);
}

UaStatus writeValues(UaClientSdk::UaSession& session, const UaWriteValues& values,
                     UaStatusCodeArray& results) {
    UaClientSdk::ServiceSettings settings = callSettings();
    UaDiagnosticInfos diagnostics;
    const UaStatus status = session.write(settings, values, results, diagnostics);
    return complete(status, values, results);
}

bool writeValue(UaClientSdk::UaSession& session, const UaNodeId& id, const UaVariant& value) {
    UaWriteValues values;
    values.createViews(1);
    nameValue(values[0], id);
    lendValue(values[0], value);
    UaStatusCodeArray results;
    return !writeValues(session, values, results).isBad() && !OpcUa_IsNotGood(results[0]);
}
