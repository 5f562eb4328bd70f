#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// Brings a subscription's messages into the order of their sequence numbers (OPC UA Part 4, 5.14.1.1): finds
/// what is missing, and holds back what came behind it until that has come, or will not.
class NotificationOrder {
public:
    /// What is to be done with each message, in order. It may take the message's content.
    using Deliver = std::function<void(UA_NotificationMessage&)>;

    NotificationOrder() = default;
    ~NotificationOrder();
    NotificationOrder(const NotificationOrder&) = delete;
    NotificationOrder& operator=(const NotificationOrder&) = delete;

    /// A message with notifications: delivers what is next in order. What is held back is taken over.
    void arrived(UA_NotificationMessage& message, const Deliver& deliver);
    /// One that was missing and asked for again.
    void cameAgain(UA_NotificationMessage& message, const Deliver& deliver);
    /// A message without: its number is that of the next one with some.
    void keptAlive(std::uint32_t nextNumber, const Deliver& deliver);
    /// This one will not come.
    void givenUp(std::uint32_t number, const Deliver& deliver);

    /// The numbers that are missing and were not told yet.
    std::vector<std::uint32_t> takeMissing();

private:
    static std::uint32_t following(std::uint32_t number) { return number == UINT32_MAX ? 1 : number + 1; }
    bool isOld(std::uint32_t number) const;
    bool countsAnew(const UA_NotificationMessage& message);
    bool isMissing(std::uint32_t number) const;
    bool isLossNew();
    void leapTo(std::uint32_t number, const Deliver& deliver);
    void expectUpTo(std::uint32_t number, const Deliver& deliver);
    struct Held {
        UA_NotificationMessage message;
        std::size_t bytes;
    };
    void hold(UA_NotificationMessage& message);
    void goOn();
    void goOnWithHeld(const Deliver& deliver);
    void deliverHeld(const Deliver& deliver);

    std::uint32_t m_expected = 1;
    std::uint32_t m_inOrder = 0; ///< messages before the expected one, as far as they matter
    UA_DateTime m_latest = 0;    ///< publish time among what was delivered
    UA_DateTime m_latestOld = 0; ///< the same among what was not, since
    std::uint32_t m_lastOld = 0;
    unsigned int m_oldInARow = 0;
    unsigned int m_newerInARow = 0;  ///< of these, by their time
    bool m_lossIsTold = false;       ///< and not much came in order since
    std::uint32_t m_missingUpTo = 1; ///< numbers below were told
    std::vector<std::uint32_t> m_missing;
    /// An empty message stands for one that will not come.
    std::map<std::uint32_t, Held> m_held;
    std::size_t m_heldBytes = 0; ///< by all of them
};

} // namespace UaClientSdk
