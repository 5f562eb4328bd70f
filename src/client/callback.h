#pragma once

#include <map>

#include <pthread.h>

#include "OpcUaTypes.h"
#include "client/visibility.h"
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

    /// Drops the records of all monitored items with the node copies they own.
    OPCUACLIENT_LOCAL void forgetMonitoredItems();

    int m_connectionStatus;                                  ///< last status reported, 0 before the first
    pthread_mutex_t m_statusMutex;                           ///< guards m_connectionStatus
    pthread_mutex_t m_bookkeepingMutex;                      ///< guards m_monitoredItems
    std::map<unsigned long, _monitItemMsg> m_monitoredItems; ///< by client handle
    void* m_applicationCallback; ///< COpcUaClientInterface::OpcUaCallBack, the application's own
    void* m_owningClient;
};
