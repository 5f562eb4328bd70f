#include "client/opcua_client.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>

#include "browse/node_lookup.h"
#include "client/callback.h"
#include "client/mutex_lock.h"
#include "security/configuration.h"
#include "uabase/platform_layer.h"
#include "uabase/trace.h"

COpcUaClient::COpcUaClient()
    : m_browseCursor(nullptr), m_errorText(""), m_subscription(nullptr), m_monitoredItemHandle(0),
      m_owningClient(nullptr), m_applicationCallback(nullptr), m_mutex() {
    UaPlatformLayer::init();
    try {
        m_nodeList = std::make_unique<COpcUaNodelist>();
        m_lookup = std::make_unique<NodeLookup>(*m_nodeList);
        m_callback = std::make_unique<CCallback>();
        pthread_mutex_init(&m_callback->statusMutex, nullptr);
        pthread_mutex_init(&m_callback->bookkeepingMutex, nullptr);
        m_configuration = std::make_unique<Configuration>();
        pthread_mutex_init(&m_mutex, nullptr);
    } catch (...) {
        UaPlatformLayer::cleanup();
        throw;
    }
}

COpcUaClient::~COpcUaClient() {
    m_ending = true;
    m_callback->deliveries.close();
    // A callback holds the lock of the items. Disconnecting deletes its subscription as well.
    if (m_subscription && !m_callback->deliveries.isInside()) {
        COpcUaClient::OpcUaClearMonitNode();
        COpcUaClient::OpcUaDeleteSubScription();
    }
    if (connectedSession()) {
        COpcUaClient::OpcUaDisConnect();
    }
    // A session that could not be disconnected must not call a sink that is gone.
    releaseSession();

    freeBrowseTree();
    m_nodeList->deleteMemory(&m_nodeList->lookupHead);
    m_nodeList.reset();

    CCallback::destroy(std::move(m_callback));

    m_configuration.reset();
    pthread_mutex_destroy(&m_mutex);
    UaTrace::closeTrace();
    UaPlatformLayer::cleanup();
}

void COpcUaClient::installClient(void* client) {
    m_owningClient = client;
}

int COpcUaClient::installOpcUaCallBack(void* callback) {
    if (!callback) {
        return fail(result::invalidArgument);
    }
    if (!m_callback) {
        return result::callbackSinkMissing;
    }
    m_applicationCallback = callback;
    m_callback->installOpcUaCallBack(callback);
    return result::success;
}

int COpcUaClient::OpcUaGetConnectStatus() {
    if (!m_callback) {
        return 0;
    }
    const MutexLock lock(m_callback->statusMutex);
    return m_callback->connectionStatus;
}

char* COpcUaClient::GetErrorMsg(char* buffer, int size) {
    if (buffer && size > 0) {
        const char* text = m_errorText;
        const std::size_t length = std::strlen(text) + 1;
        std::memcpy(buffer, text, std::min(length, static_cast<std::size_t>(size)));
    }
    return buffer;
}

int COpcUaClient::fail(const Failure& failure) {
    m_errorText = failure.text;
    return failure.code;
}

std::shared_ptr<UaClientSdk::UaSession> COpcUaClient::session() const {
    return std::atomic_load(&m_session);
}

std::shared_ptr<UaClientSdk::UaSession> COpcUaClient::connectedSession() const {
    auto current = session();
    return current && current->isConnected() ? current : nullptr;
}
