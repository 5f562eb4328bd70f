#include "client/callback.h"

#include "client/mutex_lock.h"

using UaClientSdk::UaClient;

CCallback::CCallback()
    : m_connectionStatus(UaClient::Disconnected), m_statusMutex(), m_bookkeepingMutex(),
      m_applicationCallback(nullptr), m_owningClient(nullptr) {}

CCallback::~CCallback() = default;

void CCallback::installClient(void* client) {
    m_owningClient = client;
}

void CCallback::installOpcUaCallBack(void* callback) {
    m_applicationCallback = callback;
}

void CCallback::connectionStatusChanged(unsigned int, UaClient::ServerStatus status) {
    const MutexLock lock(m_statusMutex);
    const auto value = static_cast<unsigned int>(status);
    if (value <= UaClient::SubscriptionLost) {
        m_connectionStatus = static_cast<int>(value);
    }
}
