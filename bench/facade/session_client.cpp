#include "facade/session_client.h"

#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>

#include "surroundings/plant_nodes.h"
#include "uabase/variant.h"

using namespace UaClientSdk;

namespace bench {
namespace {

void require(const UaStatus& status, const char* operation) {
    if (status.isNotGood())
        throw std::runtime_error(std::string("session ") + operation + ": " + status.name());
}

template <typename Element>
void nameValue(Element& element, const UaNodeId& id) {
    id.copyTo(&element.nodeId);
    element.attributeId = OpcUa_Attributes_Value;
}

} // namespace

SessionClient::SessionClient(const std::string& url)
    : m_folder(UaNodeId::fromXmlString(plant_nodes::manyChildren)) {
    SessionConnectInfo info;
    info.automaticReconnect = false;
    SessionSecurityInfo security;
    require(m_session.connect(UaString(url), info, security, nullptr), "connect");
    const UaNodeId scalar = UaNodeId::fromXmlString(plant_nodes::scalar);
    m_scalarToRead.create(1);
    nameValue(m_scalarToRead[0], scalar);
    m_scalarToWrite.create(1);
    nameValue(m_scalarToWrite[0], scalar);
    m_scalarToWrite[0].value.hasValue = true;
}

void SessionClient::readValues(const UaReadValueIds& nodes, UaDataValues& values) {
    ServiceSettings settings;
    UaDiagnosticInfos diagnostics;
    require(m_session.read(settings, 0, OpcUa_TimestampsToReturn_Both, nodes, values, diagnostics), "read");
}

double SessionClient::readScalar() {
    UaDataValues values;
    readValues(m_scalarToRead, values);
    require(values[0].status, "read");
    UaVariant variant;
    variant.attach(values[0].value);
    double value = 0;
    require(variant.toDouble(value), "conversion");
    return value;
}

void SessionClient::writeScalar(double value) {
    UaVariant variant;
    variant.setDouble(value);
    OpcUa_Variant& target = m_scalarToWrite[0].value.value;
    UaVariant previous;
    previous.attach(target);
    require(variant.copyTo(&target), "value");
    ServiceSettings settings;
    UaStatusCodeArray results;
    UaDiagnosticInfos diagnostics;
    require(m_session.write(settings, m_scalarToWrite, results, diagnostics), "write");
    require(results[0], "write");
}

int SessionClient::readTypes(const UaReferenceDescriptions& page) {
    for (const OpcUa_ReferenceDescription& reference : page) {
        UaReadValueIds nodes;
        nodes.create(1);
        nameValue(nodes[0], UaNodeId(reference.nodeId.nodeId));
        UaDataValues values;
        readValues(nodes, values);
        benchmark::DoNotOptimize(values[0].value.type);
    }
    return static_cast<int>(page.length());
}

int SessionClient::browseChildren() {
    ServiceSettings settings;
    BrowseContext context;
    context.referenceTypeId = UaNodeId(OpcUaId_HierarchicalReferences);
    UaByteString continuationPoint;
    UaReferenceDescriptions references;
    require(m_session.browse(settings, m_folder, context, continuationPoint, references), "browse");
    int children = readTypes(references);
    while (continuationPoint.length() > 0) {
        require(m_session.browseNext(settings, false, continuationPoint, references), "browse next");
        children += readTypes(references);
    }
    return children;
}

} // namespace bench
