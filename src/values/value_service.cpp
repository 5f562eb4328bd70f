#include "values/value_service.h"

#include <new>

#include "client/call_settings.h"
#include "uaclient/session.h"

namespace {

/// An answer that is shorter than the question can't be told apart node by node.
UaStatus complete(UaStatus status, OpcUa_UInt32 asked, OpcUa_UInt32 answered) {
    return !status.isBad() && answered < asked ? UaStatus(OpcUa_BadUnexpectedError) : status;
}

} // namespace

void giveValue(OpcUa_WriteValue& element, const UaVariant& value) {
    if (value.copyTo(&element.value.value) != OpcUa_Good) {
        throw std::bad_alloc();
    }
    element.value.hasValue = true;
}

UaStatus readValues(UaClientSdk::UaSession& session, const UaReadValueIds& nodes, UaDataValues& values) {
    UaClientSdk::ServiceSettings settings = callSettings();
    UaDiagnosticInfos diagnostics;
    const UaStatus status =
        session.read(settings, 0, OpcUa_TimestampsToReturn_Both, nodes, values, diagnostics);
    return complete(status, nodes.length(), values.length());
}

UaStatus readValue(UaClientSdk::UaSession& session, const UaNodeId& id, UaDataValues& values) {
    UaReadValueIds nodes;
    nodes.create(1);
    nameValue(nodes[0], id);
    return readValues(session, nodes, values);
}

UaStatus writeValues(UaClientSdk::UaSession& session, const UaWriteValues& values,
                     UaStatusCodeArray& results) {
    UaClientSdk::ServiceSettings settings = callSettings();
    UaDiagnosticInfos diagnostics;
    const UaStatus status = session.write(settings, values, results, diagnostics);
    return complete(status, values.length(), results.length());
}
