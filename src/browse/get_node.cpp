#include <cstring>
#include <string>

#include "client/opcua_client.h"
#include "client/text_field.h"

OpcUaNode* COpcUaClient::OpcUaGetUaNode(const char* nodeId, _OpcUaDataType dataType) {
    constexpr std::size_t longestText = sizeof OpcUaNode::nodeId;
    // A text that a record can't hold would come back as the name of another node.
    if (nodeId == nullptr || strnlen(nodeId, longestText + 1) > longestText) {
        m_error.fail(result::invalidArgument);
        return nullptr;
    }
    const std::string text(nodeId);
    if (OpcUaNode* known = m_lookup.find(text))
        return known;
    auto* record = new OpcUaNode{};
    setField(record->nodeId, text);
    record->dataType = dataType;
    m_lookup.append(record);
    return record;
}
