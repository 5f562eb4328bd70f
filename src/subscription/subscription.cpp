#include "client/opcua_client.h"
#include "subscription/callback.h"

using namespace UaClientSdk;

namespace {

// A client never has a second subscription that it would have to tell apart.
constexpr unsigned int clientSubscriptionHandle = 1;

SubscriptionSettings settingsFor(double publishingInterval) {
    SubscriptionSettings settings;
    settings.publishingInterval = publishingInterval;
    settings.lifetimeCount = 100000;
    settings.maxKeepAliveCount = 5;
    settings.maxNotificationsPerPublish = 0;
    settings.priority = 0;
    return settings;
}

/// However its deletion ends, the subscription is gone in the end; also when memory runs out.
struct Forgotten {
    MonitoredItems& items;
    UaSubscription* const subscription;
    ~Forgotten() { items.forgetSubscription(subscription); }
};

/// A turn at the items behind the change that is being delivered; what was to be delivered with it is
/// dropped.
ItemsTurn endDelivery(CCallback& sink) {
    const DeliveryGate::Closure closure(sink.deliveries);
    return ItemsTurn(sink.items);
}

} // namespace

int COpcUaClient::OpcUaCreateSubScription(double publishingInterval) {
    const SessionTurn session(m_session);
    if (session.connected() == nullptr)
        return m_error.fail(result::notConnected);
    if (m_callback->items.subscription != nullptr) {
        const int deleted = this->OpcUaDeleteSubScription();
        // Another thread may have deleted it meanwhile.
        if (deleted != result::success && deleted != result::noSubscription.code)
            return m_error.fail(result::subscriptionNotReplaced);
    }
    ServiceSettings settings;
    SubscriptionSettings parameters = settingsFor(publishingInterval);
    UaSubscription* subscription = nullptr;
    const UaStatus status = session.connected()->createSubscription(
        settings, m_callback.get(), clientSubscriptionHandle, parameters, 1, &subscription);
    if (status.isNotGood())
        return m_error.fail(result::createSubscriptionFailed);
    m_callback->items.subscription = subscription;
    return result::success;
}

int COpcUaClient::OpcUaDeleteSubScription() {
    if (!m_session.connected())
        return m_error.fail(result::notConnected);
    if (!m_callback)
        return m_error.fail(result::deleteWithoutSink);
    if (m_callback->items.subscription == nullptr)
        return m_error.fail(result::noSubscription);
    const auto session = m_session.get();
    const ItemsTurn turn = endDelivery(*m_callback);
    UaSubscription* subscription = turn.subscription();
    // Another thread may have connected anew: what there is now is not what was to be deleted.
    if (!session || subscription == nullptr || m_session.get() != session)
        return m_error.fail(result::noSubscription);
    const Forgotten forgotten{m_callback->items, subscription};
    const UaStatus status = session->deleteSubscription(m_removalSettings, &subscription, 100);
    return status.isNotGood() ? m_error.fail(result::deleteSubscriptionFailed) : result::success;
}
