#include "subscription/callback.h"

#include <algorithm>
#include <exception>
#include <memory>

#include "OpcUaClientInterface.h"
#include "uabase/trace.h"
#include "values/element_position.h"
#include "values/value_buffer.h"

using UaClientSdk::UaClient;

namespace {

using Application = COpcUaClientInterface::OpcUaCallBack;

/// Of any other type neither number nor content reaches a message.
bool isConverted(const UaVariant& value) {
    return value.type() <= OpcUaType_String;
}

_OpcUaDataType typeOf(const UaVariant& value) {
    // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange): of values that are converted alone
    return static_cast<_OpcUaDataType>(value.type());
}

void putScalar(const UaVariant& value, _OpcUaDataChangeMsg& message) {
    message.valueSize = sizeof message.value;
    encodeValue(value, typeOf(value), message.value, message.valueSize);
}

/// Of an array or matrix the type alone: which element is wanted is not known yet.
void describe(const UaVariant& value, _OpcUaDataChangeMsg& message) {
    if (!isConverted(value))
        return;
    message.dataType = typeOf(value);
    if (!value.isArray() && !value.isMatrix())
        putScalar(value, message);
}

/// Puts the element that the item asks for in the place of the whole value. False when there is none.
bool selectElement(const _ArrayType& selection, const UaVariant& value, _OpcUaDataChangeMsg& message) {
    unsigned int position = 0;
    if (!findPosition(value, selection.dims, selection.dimCount, position))
        return false;
    if (!isConverted(value))
        return true;
    if (position >= value.arraySize())
        return false;
    putScalar(value.element(position), message);
    return true;
}

/// What the application throws must not keep the other changes from it.
void call(Application& application, const _OpcUaDataChangeMsg& message) {
    try {
        application.OpcUaDataChange(message);
    } catch (const std::exception& error) {
        UaTrace::write(UaTrace::Errors, "callback", "the application's callback threw: %s", error.what());
    } catch (...) {
        UaTrace::write(UaTrace::Errors, "callback", "the application's callback threw");
    }
}

/// Makes the message of one change. False when the application is to get none.
bool makeMessage(const MonitoredItems& items, const UaDataChange& change, _OpcUaDataChangeMsg& message) {
    if (OpcUa_IsNotGood(change.status))
        return false;
    describe(change.value, message);
    const MonitoredItem* const item = items.find(change.clientHandle);
    if (item == nullptr || (item->selection && !selectElement(*item->selection, change.value, message)))
        return false;
    std::copy_n(item->node->nodeId, sizeof message.nodeId, message.nodeId);
    message.arrayIndex = item->selection ? *item->selection : _ArrayType{};
    return true;
}

} // namespace

CCallback::CCallback()
    : connectionStatus(UaClient::Disconnected), applicationCallback(nullptr), owningClient(nullptr) {}

CCallback::~CCallback() = default;

void CCallback::installClient(void* client) {
    owningClient = client;
}

void CCallback::installOpcUaCallBack(void* callback) {
    applicationCallback = callback;
}

void CCallback::connectionStatusChanged(unsigned int, UaClient::ServerStatus status) {
    const MutexLock lock(statusMutex);
    const auto value = static_cast<unsigned int>(status);
    if (value <= UaClient::SubscriptionLost)
        connectionStatus = static_cast<int>(value);
}

void CCallback::subscriptionStatusChanged(unsigned int, const UaStatus&) {}

void CCallback::newEvents(unsigned int, UaEventFieldLists&) {}

void CCallback::dataChange(unsigned int, const UaMonitoredItemNotifications& notifications,
                           const UaDiagnosticInfos&) {
    const std::shared_ptr<CCallback> self = shared_from_this();
    const DeliveryGate::Passage passage(deliveries);
    if (!passage.isOpen())
        return;
    const auto lock = items.lock();
    auto* const application = static_cast<Application*>(applicationCallback.load());
    _OpcUaDataChangeMsg message = {};
    for (OpcUa_UInt32 i = 0; passage.isOpen() && i < notifications.length(); ++i) {
        // The item may be gone afterwards: the application may disconnect.
        if (makeMessage(items, notifications[i], message) && application != nullptr)
            call(*application, message);
    }
}

int CCallback::ChangeArray(unsigned long* index, unsigned long* dims, int n) {
    return static_cast<int>(flatPosition(index, dims, n));
}
