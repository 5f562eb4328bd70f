#pragma once

#include "uabase/arrays.h"
#include "uabase/byte_string.h"
#include "uabase/notifications.h"
#include "uabase/status.h"
#include "uaclient/client.h"
#include "uastack/export.h"

namespace UaClientSdk {

/// Receives what happens to a session. Called on a thread of the session's own for this alone, one call at a
/// time, so that it waits for nothing that data does; never on a thread that makes a service call, except for
/// connectError() and the final Disconnected when disconnect() is called from inside such a call. No call is
/// made after disconnect() has returned or the session is deleted.
class UASDK_EXPORT UaSessionCallback {
public:
    virtual ~UaSessionCallback();
    virtual void connectionStatusChanged(unsigned int clientConnectionId, UaClient::ServerStatus status);
    /// A connect did not come about: told on the thread that connects, before connect() returns.
    virtual void connectError(unsigned int clientConnectionId, const UaStatus& reason);
    /// A server's certificate did not pass while a TLS connection was made. This SDK speaks opc.tcp, which
    /// knows no TLS, and never calls it.
    virtual void sslCertificateValidationFailed(unsigned int clientConnectionId,
                                                const UaByteString& certificate, const UaStatus& reason);
};

/// Receives what a subscription delivers, on another thread of the session's own. After deleteSubscription()
/// no further call begins; one that is running then is not waited for.
class UASDK_EXPORT UaSubscriptionCallback {
public:
    virtual ~UaSubscriptionCallback();
    /// The server ended the subscription: no data comes any more.
    virtual void subscriptionStatusChanged(unsigned int clientSubscriptionHandle, const UaStatus& status);
    /// All notifications of a publish response come in one call, in the server's order.
    virtual void dataChange(unsigned int clientSubscriptionHandle,
                            const UaMonitoredItemNotifications& notifications,
                            const UaDiagnosticInfos& diagnostics);
    virtual void newEvents(unsigned int clientSubscriptionHandle, UaEventFieldLists& events);
};

} // namespace UaClientSdk
