#include "facade/facade_items.h"

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

FacadeItems::FacadeItems(const std::string& url, double publishingInterval, ChangeSink& sink)
    : m_sink(sink), m_client(url) {
    m_client.require(m_client.interface().installOpcUaCallBack(this), "callback");
    m_client.require(m_client.interface().OpcUaCreateSubScription(publishingInterval), "subscription");
}

FacadeItems::~FacadeItems() {
    m_client.interface().OpcUaDeleteSubScription();
}

void FacadeItems::add(std::vector<OpcUaNode>& nodes) {
    m_client.require(
        m_client.interface().OpcUaAddMultiMonitNode(nodes.data(), static_cast<int>(nodes.size())),
        "monitored items");
    for (const OpcUaNode& node : nodes)
        m_client.require(node.result, "monitored item");
}

void FacadeItems::OpcUaDataChange(_OpcUaDataChangeMsg message) {
    m_sink.changed(static_cast<const char*>(message.value), static_cast<std::size_t>(message.valueSize));
}

int FacadeItems::OpcUaTrustServerCertificate(_OpcUaCertificateMsg) {
    return 0;
}

std::vector<OpcUaNode> recordsOf(const std::vector<Tag>& nodes) {
    std::vector<OpcUaNode> records(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        setField(records[i].nodeId, nodes[i].nodeId);
        records[i].dataType = nodes[i].dataType;
    }
    return records;
}

} // namespace bench
