#pragma once

#include "client/mutex_lock.h"
#include "client/opcua_client.h"

template <typename Action>
int COpcUaClient::withSession(Action action) {
    const MutexLock lock(m_mutex);
    const auto current = connectedSession();
    return current ? action(*current) : fail(result::notConnected);
}
