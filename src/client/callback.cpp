#include "client/callback.h"

#include "client/mutex_lock.h"

using UaClientSdk::UaClient;

CCallback::CCallback()
    : connectionStatus(UaClient::Disconnected), statusMutex(), bookkeepingMutex(),
      applicationCallback(nullptr), owningClient(nullptr) {}

CCallback::~CCallback() = default;

void CCallback::destroy(std::unique_ptr<CCallback> sink) {
    if (sink->deliveries.isInside()) {
        CCallback& running = *sink;
        running.m_self = std::move(sink);
        return;
    }
    pthread_mutex_destroy(&sink->statusMutex);
    pthread_mutex_destroy(&sink->bookkeepingMutex);
}

void CCallback::installClient(void* client) {
    owningClient = client;
}

void CCallback::installOpcUaCallBack(void* callback) {
    applicationCallback = callback;
}

void CCallback::connectionStatusChanged(unsigned int, UaClient::ServerStatus status) {
    const MutexLock lock(statusMutex);
    const auto value = static_cast<unsigned int>(status);
    if (value <= UaClient::SubscriptionLost) {
        connectionStatus = static_cast<int>(value);
    }
}
