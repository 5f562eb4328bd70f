#include <algorithm>
#include <cstddef>
#include <exception>

#include "OpcUaClientInterface.h"
#include "client/callback.h"
#include "client/mutex_lock.h"
#include "uabase/trace.h"
#include "values/element_position.h"
#include "values/value_buffer.h"

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

void storeScalar(const UaVariant& value, _OpcUaDataChangeMsg& message) {
    message.valueSize = sizeof message.value;
    storeValue(value, typeOf(value), message.value, message.valueSize);
}

/// Of an array or matrix the type alone: which element is wanted is not known yet.
void describe(const UaVariant& value, _OpcUaDataChangeMsg& message) {
    if (!isConverted(value)) {
        return;
    }
    message.dataType = typeOf(value);
    if (!value.isArray() && !value.isMatrix()) {
        storeScalar(value, message);
    }
}

/// The whole field, of which all beyond the target's size is 0; `size` bytes are in the message from before.
void copyNodeId(const CCallback::Target& target, std::size_t& size, _OpcUaDataChangeMsg& message) {
    const char* const text = target.holdsNodeId() ? target.nodeId : target.node->nodeId;
    char* const end = std::copy_n(text, target.nodeIdSize, message.nodeId);
    if (size > target.nodeIdSize) {
        std::fill(end, message.nodeId + size, '\0');
    }
    size = target.nodeIdSize;
}

/// Without a selection all of it is 0.
void copySelection(const CCallback::Target& target, _OpcUaDataChangeMsg& message) {
    if (target.selection) {
        message.arrayIndex = *target.selection;
    } else if (message.arrayIndex.kind != 0) {
        message.arrayIndex = {};
    }
}

/// Puts the element that the item asks for in the place of the whole value. False when there is none.
bool selectElement(const _ArrayType& selection, const UaVariant& value, _OpcUaDataChangeMsg& message) {
    unsigned int position = 0;
    if (!findPosition(value, selection.dims, selection.dimCount, position)) {
        return false;
    }
    if (!isConverted(value)) {
        return true;
    }
    if (position >= value.arraySize()) {
        return false;
    }
    storeScalar(value.element(position), message);
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

} // namespace

void CCallback::subscriptionStatusChanged(unsigned int, const UaStatus&) {}

void CCallback::newEvents(unsigned int, UaEventFieldLists&) {}

void CCallback::dataChange(unsigned int, const UaMonitoredItemNotifications& notifications,
                           const UaDiagnosticInfos&) {
    std::unique_ptr<CCallback> withoutClient;
    {
        const DeliveryGate::Passage passage(deliveries);
        if (!passage.isOpen()) {
            return;
        }
        deliver(notifications, passage);
        withoutClient = std::move(m_self);
    }
    if (withoutClient) {
        destroy(std::move(withoutClient));
    }
}

void CCallback::deliver(const UaMonitoredItemNotifications& notifications,
                        const DeliveryGate::Passage& passage) {
    const MutexLock lock(bookkeepingMutex);
    auto* const application = static_cast<Application*>(applicationCallback.load());
    _OpcUaDataChangeMsg message = {};
    std::size_t nodeIdSize = 0;
    for (OpcUa_UInt32 i = 0; passage.isOpen() && i < notifications.length(); ++i) {
        const UaDataChange change = notifications[i];
        if (OpcUa_IsNotGood(change.status)) {
            continue;
        }
        describe(change.value, message);
        const Target& target = targetOf(change.clientHandle);
        if (!target.node || (target.selection && !selectElement(*target.selection, change.value, message))) {
            continue;
        }
        copyNodeId(target, nodeIdSize, message);
        copySelection(target, message);
        // From here on the record may be gone: the application may disconnect.
        if (application) {
            call(*application, message);
        }
    }
}

int CCallback::ChangeArray(unsigned long* index, unsigned long* dims, int n) {
    return static_cast<int>(flatPosition(index, dims, n));
}
