#include "values/value_service.h"

using UaClientSdk::ServiceSettings;
using UaClientSdk::UaSession;

namespace {

// No value is to come from a server's cache.
constexpr OpcUa_Double maxAge = 0;

} // namespace

UaStatus readValue(UaSession& session, const UaNodeId& id, UaDataValues& values) {
    UaReadValueIds nodes;
    nodes.create(1);
    addressValue(nodes[0], id);
    ServiceSettings settings;
    UaDiagnosticInfos diagnostics;
    const UaStatus status =
        session.read(settings, maxAge, OpcUa_TimestampsToReturn_Both, nodes, values, diagnostics);
    return checked(status, values, 1);
}

void readValues(UaSession& session, const UaClientSdk::ReadSequence& sequence) {
    ServiceSettings settings;
    session.read(settings, maxAge, OpcUa_TimestampsToReturn_Both, sequence);
}

bool readGoodValue(UaSession& session, const OpcUaNode& node, UaVariant& value) {
    UaDataValues values;
    UaStatus status = readValue(session, nodeIdOf(node), values);
    if (!status.isBad()) {
        value.attach(values[0].value);
        status = values[0].status;
        if (!status.isNotGood())
            return true;
    }
    traceNotRead(node, status);
    return false;
}

UaWriteValues writeRequest(const OpcUaNode& node) {
    UaWriteValues request;
    request.create(1);
    addressValue(request[0], nodeIdOf(node));
    request[0].value.hasValue = true;
    return request;
}

bool writeValue(UaSession& session, const OpcUaNode& node, const UaWriteValues& request) {
    ServiceSettings settings;
    UaStatusCodeArray results;
    UaDiagnosticInfos diagnostics;
    UaStatus status = session.write(settings, request, results, diagnostics);
    status = checked(status, results, 1);
    if (!status.isBad()) {
        status = results[0];
        if (!status.isNotGood())
            return true;
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
