#pragma once

#include "uaclient/client.h"
#include "uastack/export.h"

namespace UaClientSdk {

/// Receives what happens to a session. Called on the session's own SDK thread, one call at a time; never on a
/// thread that makes a service call, except for the final Disconnected when disconnect() is called from
/// inside a callback. No call is made after disconnect() has returned or the session is deleted.
class UASDK_EXPORT UaSessionCallback {
public:
    virtual ~UaSessionCallback();
    virtual void connectionStatusChanged(unsigned int clientConnectionId, UaClient::ServerStatus status);
};

/// Receives what a subscription delivers, on the same thread.
class UASDK_EXPORT UaSubscriptionCallback {
public:
    virtual ~UaSubscriptionCallback();
};

} // namespace UaClientSdk
