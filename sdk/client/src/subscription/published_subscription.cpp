#include "subscription/published_subscription.h"

#include <cstddef>
#include <cstdint>

#include "uabase/trace.h"

namespace UaClientSdk {

void PublishedSubscription::heard() {
    forgetSilence();
    m_isSilent = false;
}

bool PublishedSubscription::arrived(UA_NotificationMessage& message) {
    heard();
    m_hasHandedOn = false;
    m_order.arrived(message, deliverer());
    handOver();
    return m_hasHandedOn;
}

bool PublishedSubscription::cameAgain(UA_NotificationMessage& message) {
    heard();
    m_hasHandedOn = false;
    m_order.cameAgain(message, deliverer());
    handOver();
    return m_hasHandedOn;
}

void PublishedSubscription::keptAlive(std::uint32_t nextNumber) {
    heard();
    m_order.keptAlive(nextNumber, deliverer());
    handOver();
}

void PublishedSubscription::givenUp(std::uint32_t number) {
    m_order.givenUp(number, deliverer());
    handOver();
}

void PublishedSubscription::deliver(UA_NotificationMessage& message) {
    for (std::size_t i = 0; i < message.notificationDataSize; ++i)
        if (message.notificationData[i].encoding == UA_EXTENSIONOBJECT_DECODED)
            deliver(message.notificationData[i]);
}

void PublishedSubscription::deliver(UA_ExtensionObject& notification) {
    const auto& [type, data] = notification.content.decoded;
    if (type == &UA_TYPES[UA_TYPES_DATACHANGENOTIFICATION]) {
        auto& change = *static_cast<UA_DataChangeNotification*>(data);
        for (std::size_t i = 0; i < change.monitoredItemsSize; ++i) {
            UA_MonitoredItemNotification& item = change.monitoredItems[i];
            if (m_target.queue->handles().isExpected(item.clientHandle)) {
                m_target.queue->collect(item.clientHandle, item.value);
                m_hasHandedOn = true;
            }
        }
    } else if (type == &UA_TYPES[UA_TYPES_STATUSCHANGENOTIFICATION]) {
        const UaStatus status = static_cast<UA_StatusChangeNotification*>(data)->status;
        if (status.isBad())
            end(status);
    }
}

void PublishedSubscription::end(UaStatus reason) {
    if (!m_isEnded) {
        m_isEnded = m_hasHandedOn = true;
        UaTrace::write(UaTrace::Errors, "subscription", "the server has ended the subscription: %s",
                       reason.name());
        m_target.queue->reportEnd(*m_target.deliveryThread, reason);
    }
}

/// A server that says nothing at all is the watchdog's to judge: its next question makes it speak, or not.
/// One that speaks again may have the data right behind what came first.
Clock::time_point PublishedSubscription::judgeSilence(Clock::time_point now, Clock::time_point serverHeard) {
    const Clock::time_point limit = m_lastHeard + m_target.longestSilence;
    if (!flows())
        return Clock::time_point::max();
    if (now < limit)
        return limit;
    if (serverHeard < limit)
        return Clock::time_point::max();
    if (m_overdueSince == Clock::time_point())
        m_overdueSince = now;
    const Clock::time_point verdict = m_overdueSince + dataLag;
    if (now < verdict)
        return verdict;
    UaTrace::write(UaTrace::Errors, "subscription",
                   "the server has sent neither data nor keep-alive in time");
    m_isSilent = true;
    return Clock::time_point::max();
}

void PublishedSubscription::forgetSilence() {
    m_lastHeard = Clock::now();
    m_overdueSince = Clock::time_point();
}

} // namespace UaClientSdk
