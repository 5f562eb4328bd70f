#include "client/callback.h"
#include "client/session_lock.h"

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

} // namespace

int COpcUaClient::OpcUaCreateSubScription(double publishingInterval) {
    return withSession([&](UaSession& session) {
        if (m_subscription && this->OpcUaDeleteSubScription() != result::success) {
            return result::subscriptionNotReplaced;
        }
        ServiceSettings settings;
        SubscriptionSettings parameters = settingsFor(publishingInterval);
        UaSubscription* subscription = nullptr;
        const UaStatus status = session.createSubscription(
            settings, m_callback.get(), clientSubscriptionHandle, parameters, 1, &subscription);
        if (status.isNotGood()) {
            return fail(result::createSubscriptionFailed);
        }
        m_subscription = subscription;
        return result::success;
    });
}

MutexLock COpcUaClient::endDeliveryAndLock() {
    const DeliveryGate::Closure closure(m_callback->deliveries);
    return MutexLock(m_callback->bookkeepingMutex);
}

int COpcUaClient::OpcUaDeleteSubScription() {
    if (!connectedSession()) {
        return fail(result::notConnected);
    }
    if (!m_subscription) {
        return fail(result::noSubscription);
    }
    if (!m_callback) {
        return fail(result::deleteWithoutSink);
    }
    const MutexLock lock = endDeliveryAndLock();
    // The callback that held the lock until now may have disconnected.
    const auto current = session();
    UaSubscription* subscription = m_subscription;
    if (!current || !subscription) {
        return fail(result::noSubscription);
    }
    ServiceSettings settings = removalSettings();
    const UaStatus status = current->deleteSubscription(settings, &subscription, 100);
    m_callback->forgetMonitoredItems();
    m_subscription = nullptr;
    return status.isNotGood() ? fail(result::deleteSubscriptionFailed) : result::success;
}
