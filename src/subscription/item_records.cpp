#include <memory>

#include "client/callback.h"
#include "client/opcua_client.h"

void CCallback::keepMonitoredItem(unsigned long monitoredItemId, unsigned long clientHandle,
                                  const OpcUaNode& node, const _ArrayType& selection) {
    auto copy = std::make_unique<OpcUaNode>(node);
    _monitItemMsg& item = monitoredItems[clientHandle - 1];
    delete item.node;
    item = {monitoredItemId, clientHandle, copy.release(), selection};
}

void CCallback::forgetMonitoredItem(MonitoredItems::iterator item) {
    delete item->second.node;
    monitoredItems.erase(item);
}

void CCallback::forgetMonitoredItems() {
    for (auto& item : monitoredItems) {
        delete item.second.node;
    }
    monitoredItems.clear();
}

void COpcUaClient::ReturnMonitorItemMsg(std::map<unsigned int, _monitItemMsg>& out) {
    unsigned int position = 0;
    for (const auto& item : m_callback->monitoredItems) {
        out[position++] = item.second;
    }
}
