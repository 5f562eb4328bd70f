#pragma once

#include <atomic>
#include <memory>

#include "OpcUaTypes.h"
#include "client/mutex.h"
#include "subscription/delivery_gate.h"
#include "subscription/monitored_items.h"
#include "uaclient/callbacks.h"

/// Receives what the SDK reports about one client's session and subscription, on the SDK's threads. Shared: a
/// delivery outlives the client that the application destroys in its callback.
class OPCUACLIENT_EXPORT CCallback : public UaClientSdk::UaSessionCallback,
                                     public UaClientSdk::UaSubscriptionCallback,
                                     public std::enable_shared_from_this<CCallback> {
public:
    CCallback();
    ~CCallback() override;
    CCallback(const CCallback&) = delete;
    CCallback& operator=(const CCallback&) = delete;

    void installClient(void* client);
    void installOpcUaCallBack(void* callback);

    void connectionStatusChanged(unsigned int clientConnectionId,
                                 UaClientSdk::UaClient::ServerStatus status) override;
    void subscriptionStatusChanged(unsigned int clientSubscriptionHandle, const UaStatus& status) override;
    /// Hands every value that is good to the application, as the item asked for it, until the gate is closed.
    /// Holds the items' mutex from beginning to end.
    void dataChange(unsigned int clientSubscriptionHandle, const UaMonitoredItemNotifications& notifications,
                    const UaDiagnosticInfos& diagnostics) override;
    void newEvents(unsigned int clientSubscriptionHandle, UaEventFieldLists& events) override;

    /// Position of a matrix element in row-major order (flatPosition()).
    int ChangeArray(unsigned long* index, unsigned long* dims, int n);

    int connectionStatus; ///< last status reported, 0 before the first
    Mutex statusMutex;    ///< guards connectionStatus
    MonitoredItems items;
    std::atomic<void*> applicationCallback; ///< COpcUaClientInterface::OpcUaCallBack, the application's own
    void* owningClient;
    DeliveryGate deliveries; ///< of data changes to the application
};
