#include "client/opcua_client.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

#include "subscription/callback.h"
#include "uabase/trace.h"

namespace {

template <typename Step>
void asFarAsMemoryGoes(Step step) {
    try {
        step();
    } catch (const std::bad_alloc&) {
        UaTrace::write(UaTrace::Errors, "client", "no memory to take leave of the server");
    }
}

} // namespace

COpcUaClient::COpcUaClient() : m_callback(std::make_shared<CCallback>()) {}

COpcUaClient::~COpcUaClient() {
    // What follows doesn't wait for a silent server, once at the most: with the session all goes.
    constexpr OpcUa_Int32 shortly = 300;
    constexpr OpcUa_Int32 hardly = 1;
    m_removalSettings.callTimeout = shortly;
    m_callback->deliveries.close();
    // A callback holds the lock of the items. Disconnecting deletes its subscription as well.
    if (m_callback->items.subscription != nullptr && !m_callback->deliveries.isInside()) {
        asFarAsMemoryGoes([this] {
            if (COpcUaClient::OpcUaClearMonitNode() != result::success)
                m_removalSettings.callTimeout = hardly;
            COpcUaClient::OpcUaDeleteSubScription();
        });
    }
    if (m_session.connected())
        asFarAsMemoryGoes([this] { COpcUaClient::OpcUaDisConnect(); });
    // A session that could not be disconnected must not call a sink that is gone.
    SessionEnd(m_session, *m_callback).release();

    m_nodes.deleteMemory(&m_nodes.root);
    m_nodes.deleteMemory(&m_nodes.lookupHead);
    m_callback.reset();
}

void COpcUaClient::installClient(void* client) {
    m_owningClient = client;
}

int COpcUaClient::installOpcUaCallBack(void* callback) {
    if (callback == nullptr)
        return m_error.fail(result::invalidArgument);
    if (!m_callback)
        return m_error.fail(result::callbackSinkMissing);
    m_callback->installOpcUaCallBack(callback);
    return result::success;
}

int COpcUaClient::OpcUaGetConnectStatus() {
    if (!m_callback)
        return 0;
    const MutexLock lock(m_callback->statusMutex);
    return m_callback->connectionStatus;
}

char* COpcUaClient::GetErrorMsg(char* buffer, int size) {
    if (buffer != nullptr && size > 0) {
        const char* text = m_error.text();
        const std::size_t length = std::strlen(text) + 1;
        std::memcpy(buffer, text, std::min(length, static_cast<std::size_t>(size)));
    }
    return buffer;
}
