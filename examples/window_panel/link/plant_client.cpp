#include "plant_client.h"

#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "OpcUaHelpers.h"
#include "link/link_state.h"
#include "plant/value.h"

namespace window_panel {
namespace {

constexpr double publishingInterval = 100; // milliseconds

/// Room for a value of any type; of a text its beginning is enough to know that it can be read.
using AnyValue = std::array<char, 64>;

} // namespace

PlantClient::PlantClient(LatestValues& values, AskTrust askTrust)
    : m_values(values), m_askTrust(std::move(askTrust)) {
    for (const Tag tag : allTags()) {
        const TagFacts& facts = factsOf(tag);
        m_nodes.push_back(OpcUaMakeNode(facts.nodeId, facts.type));
        m_tags.emplace(facts.nodeId, tag);
    }
    m_client.OpcUaInit(OpcUaTraceLevel_Warnings);
    m_client.installOpcUaCallBack(this);
}

int PlantClient::connect(const Access& access) {
    _OpcUaClientConfig config{};
    OpcUaSetField(config.endpointUrl, access.url);
    OpcUaSetField(config.sessionName, "window_panel");
    config.securityPolicy = access.secured ? OpcUaSecurityPolicy_Basic256Sha256 : OpcUaSecurityPolicy_None;
    config.securityMode = access.secured ? OpcUaSecurityMode_SignAndEncrypt : OpcUaSecurityMode_None;
    config.userIdentity = access.user.empty() ? OpcUaUserIdentity_Anonymous : OpcUaUserIdentity_UserName;
    OpcUaSetField(config.userName, access.user);
    OpcUaSetField(config.password, access.password);
    const int code = m_client.OpcUaConnect(config);
    return code == ResultDone ? watch() : code;
}

int PlantClient::watch() {
    const int code = m_client.OpcUaCreateSubScription(publishingInterval);
    if (code != ResultDone)
        return code;
    const int outcome = m_client.OpcUaAddMultiMonitNode(m_nodes.data(), static_cast<int>(m_nodes.size()));
    lookForFailures();
    return outcome;
}

void PlantClient::lookForFailures() {
    std::array<AnyValue, tagCount> values;
    std::vector<OpcUa_ReadNode> reads;
    for (std::size_t i = 0; i < tagCount; ++i)
        reads.push_back({&m_nodes[i], values[i].data(), static_cast<int>(values[i].size())});
    if (m_client.OpcUaGetMultiValue(reads.data(), static_cast<int>(reads.size())) != ResultDone)
        return;
    for (const Tag tag : allTags()) {
        const int result = m_nodes[indexOf(tag)].result;
        if (result == ResultDone || result == ResultNotRead)
            m_values.setReadable(tag, result == ResultDone);
    }
}

int PlantClient::write(Tag tag, double value) {
    int size = sizeof value;
    return m_client.OpcUaSetValue(&m_nodes[indexOf(tag)], &value, size);
}

void PlantClient::disconnect() {
    m_client.OpcUaDisConnect();
}

void PlantClient::OpcUaDataChange(_OpcUaDataChangeMsg change) {
    const auto found = m_tags.find(OpcUaFieldText(change.nodeId));
    if (found != m_tags.end() && change.dataType != OpcUaDataType_Null)
        m_values.put(found->second, valueOf(change));
}

int PlantClient::OpcUaTrustServerCertificate(_OpcUaCertificateMsg certificate) {
    return m_askTrust(certificate);
}

} // namespace window_panel
