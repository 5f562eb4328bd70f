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

    int connectionStatus;                                  ///< last status reported, 0 before the first
    pthread_mutex_t statusMutex;                           ///< guards connectionStatus
    pthread_mutex_t bookkeepingMutex;                      ///< guards monitoredItems
    std::map<unsigned long, _monitItemMsg> monitoredItems; ///< key: client handle - 1
    void* applicationCallback; ///< COpcUaClientInterface::OpcUaCallBack, the application's own
    void* owningClient;
};
