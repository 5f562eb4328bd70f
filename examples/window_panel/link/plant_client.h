#pragma once

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "OpcUaClientInterface.h"
#include "link/access.h"
#include "plant/latest_values.h"

namespace window_panel {

/// The library at work for this panel: connects, has all tags delivered to the values, writes. One thread
/// uses it; status() alone is for every thread. What waits for the server waits here, ten seconds at most (a
/// connect 15, and as long as a person takes to decide on a certificate).
class PlantClient final : private COpcUaClientInterface::OpcUaCallBack {
public:
    using AskTrust = std::function<OpcUaTrust(const _OpcUaCertificateMsg&)>;

    /// `askTrust` is called by connect(), on its thread.
    PlantClient(LatestValues& values, AskTrust askTrust);
    ~PlantClient() = default;
    PlantClient(const PlantClient&) = delete;
    PlantClient& operator=(const PlantClient&) = delete;

    /// Connects anew, and watches. Returns the library's result code.
    int connect(const Access& access);
    /// Subscribes to all tags: after a connect, and after the server has ended a subscription.
    int watch();
    /// Bad values are not delivered: reading tells which tags have none that is good.
    void lookForFailures();
    /// For tags of type Double.
    int write(Tag tag, double value);
    void disconnect();

    /// One of ConnectStatus, or another number without a connection.
    int status() { return m_client.OpcUaGetConnectStatus(); }

private:
    void OpcUaDataChange(_OpcUaDataChangeMsg change) override;
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg certificate) override;

    LatestValues& m_values;
    AskTrust m_askTrust;
    std::vector<OpcUaNode> m_nodes; ///< one a tag, in their order
    std::unordered_map<std::string, Tag> m_tags;
    COpcUaClientInterface m_client; ///< goes first: no callback comes after it
};

} // namespace window_panel
