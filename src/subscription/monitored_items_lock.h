#pragma once

#include "client/callback.h"
#include "client/mutex_lock.h"
#include "client/opcua_client.h"

template <typename Action>
int COpcUaClient::withMonitoredItems(const Failure& sinkMissing, Action action) {
    if (!m_subscription) {
        return fail(result::noSubscription);
    }
    if (!m_callback) {
        return fail(sinkMissing);
    }
    const MutexLock lock(m_callback->bookkeepingMutex);
    // The callback that held the lock until now may have disconnected.
    UaClientSdk::UaSubscription* const subscription = m_subscription;
    return subscription ? action(*subscription) : fail(result::noSubscription);
}
