#include "subscription/notification_order.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <open62541/types_generated_handling.h>

#include "uabase/held_bytes.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

/// A server keeps but a few messages to send again; a greater leap is no gap that can be filled.
constexpr std::uint32_t longestGap = 64;
/// With all that is in them, as it lies on the heap. Ten messages with ten thousand numbers each fit in.
constexpr std::size_t mostHeldBytes = 12U << 20U;

const UA_DataType& messageType = UA_TYPES[UA_TYPES_NOTIFICATIONMESSAGE];

/// Of numbers that lie close together; they begin anew when they are used up.
bool isBefore(std::uint32_t a, std::uint32_t b) {
    return static_cast<std::int32_t>(a - b) < 0;
}

} // namespace

NotificationOrder::~NotificationOrder() {
    for (auto& held : m_held)
        UA_NotificationMessage_clear(&held.second.message);
}

/// What lies further back than there were messages is no repetition, but a leap; so is 0, which no message
/// has (OPC UA Part 4, 7.26).
bool NotificationOrder::isOld(std::uint32_t number) const {
    return number != 0 && m_expected - number - 1 < m_inOrder;
}

void NotificationOrder::goOn() {
    constexpr std::uint32_t repetitionsKnown = 1024;
    m_expected = following(m_expected);
    if (isBefore(m_missingUpTo, m_expected))
        m_missingUpTo = m_expected;
    m_inOrder = std::min(m_inOrder + 1, repetitionsKnown);
    m_oldInARow = m_newerInARow = 0;
    m_latestOld = 0;
    m_lossIsTold = m_lossIsTold && m_inOrder < longestGap;
}

/// What comes again was published before what came last, and is no more than was asked for; so many old
/// numbers in order that were not, or are more than that, are a server's that counts anew. One whose messages
/// are newer and have other numbers each time need not even count.
bool NotificationOrder::countsAnew(const UA_NotificationMessage& message) {
    constexpr unsigned int noRepetition = 10;
    const std::uint32_t number = message.sequenceNumber;
    const bool isRepetition = message.publishTime != 0 && message.publishTime <= m_latest;
    const std::uint32_t last = std::exchange(m_lastOld, number);
    const bool isInOrder = number == following(last);
    m_oldInARow = isInOrder ? m_oldInARow + 1 : 1;
    const bool isNewest = number != last && message.publishTime > std::max(m_latest, m_latestOld);
    m_latestOld = std::max(m_latestOld, message.publishTime);
    m_newerInARow = isRepetition ? 0 : isInOrder || isNewest ? m_newerInARow + 1 : 1;
    return m_newerInARow >= noRepetition || m_oldInARow > longestGap;
}

void NotificationOrder::arrived(UA_NotificationMessage& message, const Deliver& deliver) {
    const std::uint32_t number = message.sequenceNumber;
    if (isOld(number) && countsAnew(message)) {
        if (isLossNew()) {
            UaTrace::write(UaTrace::Errors, "subscription",
                           "the server counts its messages anew: those before %u are lost", number);
        }
        leapTo(number, deliver);
    }
    expectUpTo(number, deliver);
    if (number == m_expected) {
        m_latest = std::max(m_latest, message.publishTime);
        deliver(message);
        goOn();
        deliverHeld(deliver);
    } else if (!isOld(number)) {
        hold(message);
        if (m_heldBytes > mostHeldBytes)
            goOnWithHeld(deliver);
    }
}

void NotificationOrder::hold(UA_NotificationMessage& message) {
    const auto [held, isNew] = m_held.emplace(message.sequenceNumber, Held{});
    if (isNew || held->second.message.notificationDataSize == 0) {
        held->second = {message, heldBytes(&message, messageType)};
        m_heldBytes += held->second.bytes;
        UA_NotificationMessage_init(&message);
    }
}

/// One line for a server that leaps with each message.
bool NotificationOrder::isLossNew() {
    return !std::exchange(m_lossIsTold, true);
}

/// What is missing is not waited for any longer.
void NotificationOrder::goOnWithHeld(const Deliver& deliver) {
    if (isLossNew()) {
        UaTrace::write(UaTrace::Errors, "subscription", "messages of the server from %u on are lost",
                       m_expected);
    }
    m_missing.clear();
    while (!m_held.empty()) {
        const auto next = m_held.lower_bound(m_expected);
        m_expected = (next != m_held.end() ? next : m_held.begin())->first;
        deliverHeld(deliver);
    }
    m_missingUpTo = m_expected;
}

void NotificationOrder::keptAlive(std::uint32_t nextNumber, const Deliver& deliver) {
    if (nextNumber != 0) // which is none (OPC UA Part 4, 7.26)
        expectUpTo(nextNumber, deliver);
}

/// Notes what is missing before `number`, or takes it as it comes when that is too much to ask for.
void NotificationOrder::expectUpTo(std::uint32_t number, const Deliver& deliver) {
    if (isOld(number) || number == m_expected)
        return;
    if (number == 0 || number - m_expected > longestGap) { // no number is 0 (OPC UA Part 4, 7.26)
        leapTo(number, deliver);
        return;
    }
    for (; isBefore(m_missingUpTo, number); m_missingUpTo = following(m_missingUpTo))
        if (m_held.count(m_missingUpTo) == 0)
            m_missing.push_back(m_missingUpTo);
}

void NotificationOrder::leapTo(std::uint32_t number, const Deliver& deliver) {
    goOnWithHeld(deliver);
    m_expected = m_missingUpTo = number;
    m_inOrder = 0;
    m_latest = 0;
}

/// After a leap nobody waits any more for what was missing before it.
bool NotificationOrder::isMissing(std::uint32_t number) const {
    return !isBefore(number, m_expected) && isBefore(number, m_missingUpTo);
}

void NotificationOrder::cameAgain(UA_NotificationMessage& message, const Deliver& deliver) {
    if (isMissing(message.sequenceNumber))
        arrived(message, deliver);
}

void NotificationOrder::givenUp(std::uint32_t number, const Deliver& deliver) {
    if (isMissing(number)) {
        m_held.emplace(number, Held{});
        deliverHeld(deliver);
    }
}

void NotificationOrder::deliverHeld(const Deliver& deliver) {
    for (auto held = m_held.find(m_expected); held != m_held.end(); held = m_held.find(m_expected)) {
        m_heldBytes -= held->second.bytes;
        m_latest = std::max(m_latest, held->second.message.publishTime);
        deliver(held->second.message);
        UA_NotificationMessage_clear(&held->second.message);
        m_held.erase(held);
        goOn();
    }
}

std::vector<std::uint32_t> NotificationOrder::takeMissing() {
    std::vector<std::uint32_t> missing;
    missing.swap(m_missing);
    return missing;
}

} // namespace UaClientSdk
