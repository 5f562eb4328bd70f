#include <map>
#include <string_view>

#include "client/opcua_client.h"
#include "client/text_field.h"
#include "subscription/callback.h"
#include "subscription/selection.h"
#include "values/value_service.h"

using namespace UaClientSdk;

namespace {

/// Whether the service, and the first of the items, succeeded.
bool deleteItems(UaSubscription& subscription, ServiceSettings& settings, const UaUInt32Array& ids) {
    UaStatusCodeArray results;
    const UaStatus service = subscription.deleteMonitoredItems(settings, ids, results);
    return checked(service, results, ids.length()).isGood() && !OpcUa_IsNotGood(results[0]);
}

} // namespace

int COpcUaClient::OpcUaRemoveMonitNode(OpcUaNode* node, unsigned long* index, int count) {
    if (node == nullptr)
        return m_error.fail(result::invalidArgument);
    const SessionTurn session(m_session);
    if (session.connected() == nullptr)
        return m_error.fail(result::notConnected);
    if (!m_callback)
        return m_error.fail(result::unmonitorWithoutSink);
    MonitoredItems& items = m_callback->items;
    const ItemsTurn turn(items);
    if (turn.subscription() == nullptr)
        return m_error.fail(result::noSubscription);
    _ArrayType selection;
    if (!makeSelection(index, count, selection))
        return m_error.fail(result::invalidArgument);
    const unsigned int handle = items.firstHandle(fieldText(node->nodeId), selection);
    if (handle == 0)
        return m_error.fail(result::notMonitored);
    UaUInt32Array ids;
    ids.create(1);
    ids[0] = items.find(handle)->id;
    if (!deleteItems(*turn.subscription(), m_removalSettings, ids))
        return m_error.fail(result::unmonitorFailed);
    items.forget(handle);
    return result::success;
}

int COpcUaClient::OpcUaClearMonitNode() {
    const auto session = m_session.connected();
    if (!session)
        return m_error.fail(result::notConnected);
    const MutexLock lock(m_session.mutex);
    if (!m_callback)
        return m_error.fail(result::clearWithoutSink);
    MonitoredItems& items = m_callback->items;
    const ItemsTurn turn(items);
    if (turn.subscription() == nullptr)
        return m_error.fail(result::noSubscription);
    if (items.count() == 0)
        return result::success;
    UaUInt32Array ids;
    items.listIds(ids);
    if (!deleteItems(*turn.subscription(), m_removalSettings, ids))
        return m_error.fail(result::clearFailed);
    items.forgetAll();
    return result::success;
}

void COpcUaClient::ReturnMonitorItemMsg(std::map<unsigned int, _monitItemMsg>& out) {
    unsigned int position = 0;
    m_callback->items.forEach([&](unsigned int handle, const MonitoredItem& item) {
        out[position++] = {item.id, handle, item.node.get(), item.selection ? *item.selection : _ArrayType{}};
    });
}
