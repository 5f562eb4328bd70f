#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <vector>

#include <pthread.h>

#include "OpcUaTypes.h"
#include "client/visibility.h"
#include "subscription/delivery_gate.h"
#include "uaclient/callbacks.h"

/// Receives what the SDK reports about one client's session and subscription, on the SDK's threads.
///
/// The client that owns the sink creates and destroys its mutexes and keeps the monitored items in it.
class OPCUACLIENT_EXPORT CCallback : public UaClientSdk::UaSessionCallback,
                                     public UaClientSdk::UaSubscriptionCallback {
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
    /// Holds the bookkeeping mutex from beginning to end.
    void dataChange(unsigned int clientSubscriptionHandle, const UaMonitoredItemNotifications& notifications,
                    const UaDiagnosticInfos& diagnostics) override;
    void newEvents(unsigned int clientSubscriptionHandle, UaEventFieldLists& events) override;

    /// Position of a matrix element in row-major order (flatPosition()).
    int ChangeArray(unsigned long* index, unsigned long* dims, int n);

    using MonitoredItems = std::map<unsigned long, _monitItemMsg>;

    /// Makes room at once for items up to this client handle.
    OPCUACLIENT_LOCAL void expectMonitoredItems(unsigned long highestClientHandle);
    /// Adds the record of an item with a copy of its node. Replaces the one that has the client handle.
    OPCUACLIENT_LOCAL void keepMonitoredItem(unsigned long monitoredItemId, unsigned long clientHandle,
                                             const OpcUaNode& node, const _ArrayType& selection);
    /// Drops one record, or all of them, with the node copies they own.
    OPCUACLIENT_LOCAL void forgetMonitoredItem(MonitoredItems::iterator item);
    OPCUACLIENT_LOCAL void forgetMonitoredItems();

    /// Ends a sink that the SDK does not call any more, its mutexes included. From inside the application's
    /// callback: when that has returned.
    OPCUACLIENT_LOCAL static void destroy(std::unique_ptr<CCallback> sink);

    /// What a data change needs of its item, in one cache line: the items' records are too many for a cache.
    struct alignas(64) Target {
        const OpcUaNode* node = nullptr;       ///< null when there is no item
        const _ArrayType* selection = nullptr; ///< null when there is none
        unsigned short nodeIdSize = 0;         ///< bytes of the record's field up to the last that is not 0
        char nodeId[46] = {};                  ///< those bytes, if they fit

        bool holdsNodeId() const { return nodeIdSize <= sizeof nodeId; }
    };
    /// One without an item when the handle is not known.
    OPCUACLIENT_LOCAL const Target& targetOf(unsigned long clientHandle) const {
        return m_targets[clientHandle < m_targets.size() ? clientHandle : 0];
    }

    int connectionStatus;                   ///< last status reported, 0 before the first
    pthread_mutex_t statusMutex;            ///< guards connectionStatus
    pthread_mutex_t bookkeepingMutex;       ///< guards monitoredItems and m_targets
    MonitoredItems monitoredItems;          ///< key: client handle - 1
    std::atomic<void*> applicationCallback; ///< COpcUaClientInterface::OpcUaCallBack, the application's own
    void* owningClient;
    DeliveryGate deliveries; ///< of data changes to the application

private:
    OPCUACLIENT_LOCAL void deliver(const UaMonitoredItemNotifications& notifications,
                                   const DeliveryGate::Passage& passage);

    /// Of the same items, at their client handles; none has 0.
    std::vector<Target> m_targets = std::vector<Target>(1);
    std::unique_ptr<CCallback> m_self; ///< when the client was destroyed in the callback that runs
};
