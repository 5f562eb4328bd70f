#include <algorithm>
#include <string_view>

#include "browse/node_links.h"
#include "client/session_lock.h"
#include "client/text_field.h"
#include "subscription/monitored_items_lock.h"
#include "subscription/selection.h"

using namespace UaClientSdk;

namespace {

/// What became of the service or, when that is good, of the first of the items.
UaStatus deleteItems(UaSubscription& subscription, ServiceSettings settings, const UaUInt32Array& ids) {
    UaStatusCodeArray results;
    const UaStatus status = subscription.deleteMonitoredItems(settings, ids, results);
    if (status.isNotGood()) {
        return status;
    }
    return results.length() > 0 ? UaStatus(results[0]) : UaStatus(OpcUa_BadUnknownResponse);
}

OpcUa_UInt32 idOf(const _monitItemMsg& item) {
    return static_cast<OpcUa_UInt32>(item.monitoredItemId);
}

} // namespace

ServiceSettings COpcUaClient::removalSettings() const {
    // A client that ends doesn't wait for a silent server: with the session all the rest goes as well.
    constexpr OpcUa_Int32 shortly = 300;
    constexpr OpcUa_Int32 hardly = 1;
    ServiceSettings settings;
    if (m_ending) {
        settings.callTimeout = m_unheardAtEnd ? hardly : shortly;
    }
    return settings;
}

int COpcUaClient::OpcUaRemoveMonitNode(OpcUaNode* node, unsigned long* index, int count) {
    if (!node) {
        return fail(result::invalidArgument);
    }
    return withSession([&](UaSession&) {
        return withMonitoredItems(result::unmonitorWithoutSink, [&](UaSubscription& subscription) {
            return removeItem(subscription, *node, index, count);
        });
    });
}

int COpcUaClient::removeItem(UaSubscription& subscription, const OpcUaNode& node, const unsigned long* index,
                             int count) {
    _ArrayType selection;
    if (!makeSelection(index, count, selection)) {
        return fail(result::invalidArgument);
    }
    auto& items = m_callback->monitoredItems;
    const std::string_view key = fieldText(node.nodeId);
    const auto item = std::find_if(items.begin(), items.end(), [&](const auto& candidate) {
        const _monitItemMsg& record = candidate.second;
        return beginsWith(*record.node, key) &&
               (selection.kind == 0 || haveSameIndices(record.arrayIndex, selection));
    });
    if (item == items.end()) {
        return fail(result::notMonitored);
    }
    UaUInt32Array ids;
    ids.create(1);
    ids[0] = idOf(item->second);
    if (deleteItems(subscription, removalSettings(), ids).isNotGood()) {
        return fail(result::unmonitorFailed);
    }
    m_callback->forgetMonitoredItem(item);
    return result::success;
}

int COpcUaClient::OpcUaClearMonitNode() {
    if (!connectedSession()) {
        return fail(result::notConnected);
    }
    const MutexLock lock(m_mutex);
    return withMonitoredItems(result::clearWithoutSink,
                              [this](UaSubscription& subscription) { return removeAllItems(subscription); });
}

int COpcUaClient::removeAllItems(UaSubscription& subscription) {
    const auto& items = m_callback->monitoredItems;
    if (items.empty()) {
        return result::success;
    }
    UaUInt32Array ids;
    ids.create(static_cast<OpcUa_UInt32>(items.size()));
    std::transform(items.begin(), items.end(), ids.rawData(),
                   [](const auto& item) { return idOf(item.second); });
    const UaStatus deleted = deleteItems(subscription, removalSettings(), ids);
    m_unheardAtEnd = m_ending && deleted.statusCode() == OpcUa_BadTimeout;
    if (deleted.isNotGood()) {
        return fail(result::clearFailed);
    }
    m_callback->forgetMonitoredItems();
    return result::success;
}
