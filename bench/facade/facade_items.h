#pragma once

#include <string>
#include <vector>

#include "changes/change_sink.h"
#include "facade/facade_client.h"
#include "surroundings/tags.h"

namespace bench {

/// A library's client with a subscription and monitored items, as an application makes them.
class FacadeItems final : public COpcUaClientInterface::OpcUaCallBack {
public:
    FacadeItems(const std::string& url, double publishingInterval, ChangeSink& sink);
    ~FacadeItems();
    FacadeItems(const FacadeItems&) = delete;
    FacadeItems& operator=(const FacadeItems&) = delete;

    void add(std::vector<OpcUaNode>& nodes);
    FacadeClient& client() { return m_client; }

    void OpcUaDataChange(_OpcUaDataChangeMsg message) override;
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg certificate) override;

private:
    ChangeSink& m_sink;
    FacadeClient m_client;
};

/// An application's records of the nodes.
std::vector<OpcUaNode> recordsOf(const std::vector<Tag>& nodes);

} // namespace bench
