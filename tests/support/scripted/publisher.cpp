#include "support/scripted/publisher.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace scripted {
namespace {

constexpr std::chrono::seconds patience(30);
constexpr std::int32_t firstValue = 42;

void fillMessage(UA_NotificationMessage& message, std::uint32_t sequenceNumber,
                 const std::vector<Publisher::Change>& changes) {
    message.sequenceNumber = sequenceNumber;
    message.publishTime = UA_DateTime_now();
    if (changes.empty())
        return;
    resize(message.notificationData, message.notificationDataSize, 1);
    const UA_DataType& type = typeOf<UA_DataChangeNotification>();
    auto* notification = static_cast<UA_DataChangeNotification*>(UA_new(&type));
    UA_ExtensionObject_setValue(&message.notificationData[0], notification, &type);
    resize(notification->monitoredItems, notification->monitoredItemsSize, changes.size());
    for (std::size_t i = 0; i < changes.size(); ++i) {
        notification->monitoredItems[i].clientHandle = changes[i].clientHandle;
        notification->monitoredItems[i].value.hasValue = true;
        assign(notification->monitoredItems[i].value.value, changes[i].value);
    }
}

} // namespace

void Publisher::publish(std::int32_t value) {
    std::vector<Change> changes;
    for (const Item& item : items())
        if (item.subscriptionId == subscriptionId())
            changes.push_back({item.clientHandle, value});
    publish(changes);
}

void Publisher::publish(const std::vector<Change>& changes) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        publishLocked(m_lastSubscriptionId, changes);
    }
    flush();
}

void Publisher::publishLocked(std::uint32_t subscriptionId, const std::vector<Change>& changes) {
    Subscription& subscription = m_subscriptions[subscriptionId];
    m_pending.push_back({subscriptionId, ++subscription.lastSequenceNumber, changes});
    subscription.kept[subscription.lastSequenceNumber] = changes;
}

void Publisher::keepAlive() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const Subscription& subscription = m_subscriptions[m_lastSubscriptionId];
        // A keep-alive shows the number of the next message and uses none itself (OPC UA Part 4, 5.14.1.1).
        m_pending.push_back({m_lastSubscriptionId, subscription.lastSequenceNumber + 1, {}});
    }
    flush();
}

void Publisher::lose(const std::vector<Change>& changes) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    Subscription& subscription = m_subscriptions[m_lastSubscriptionId];
    subscription.kept[++subscription.lastSequenceNumber] = changes;
}

void Publisher::firstValues(bool published) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_firstValues = published;
}

std::vector<Publisher::Item> Publisher::items() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_items;
}

std::uint32_t Publisher::subscriptionId() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastSubscriptionId;
}

std::size_t Publisher::waiting() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_waiting.size();
}

bool Publisher::waitForWaiting(std::size_t count) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, patience, [this, count] { return m_waiting.size() >= count; });
}

std::optional<Call> Publisher::takeRequest() {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_changed.wait_for(lock, patience, [this] { return !m_waiting.empty(); }))
        return std::nullopt;
    const Call call = m_waiting.front().call;
    m_waiting.pop_front();
    return call;
}

std::vector<std::uint32_t> Publisher::acknowledged() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_acknowledged;
}

std::vector<std::uint32_t> Publisher::unacknowledged() const {
    return keptOf(subscriptionId());
}

std::vector<std::uint32_t> Publisher::keptOf(std::uint32_t id) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::uint32_t> numbers;
    const auto subscription = m_subscriptions.find(id);
    if (subscription != m_subscriptions.end())
        for (const auto& message : subscription->second.kept)
            numbers.push_back(message.first);
    return numbers;
}

bool Publisher::waitForAcknowledged(std::size_t count) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, patience, [this, count] { return m_acknowledged.size() >= count; });
}

std::vector<std::uint32_t> Publisher::askedAgain() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_askedAgain;
}

Owned<UA_PublishResponse> Publisher::dataChange(std::uint32_t subscriptionId, std::uint32_t sequenceNumber,
                                                const std::vector<Change>& changes) {
    Owned<UA_PublishResponse> response;
    response->subscriptionId = subscriptionId;
    fillMessage(response->notificationMessage, sequenceNumber, changes);
    return response;
}

Owned<UA_PublishResponse> Publisher::keepAlive(std::uint32_t subscriptionId, std::uint32_t sequenceNumber) {
    return dataChange(subscriptionId, sequenceNumber, {});
}

std::uint32_t Publisher::create() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_subscriptions[++m_lastSubscriptionId];
    return m_lastSubscriptionId;
}

bool Publisher::remove(std::uint32_t subscriptionId) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto isIts = [subscriptionId](const auto& one) { return one.subscriptionId == subscriptionId; };
    m_items.erase(std::remove_if(m_items.begin(), m_items.end(), isIts), m_items.end());
    m_pending.erase(std::remove_if(m_pending.begin(), m_pending.end(), isIts), m_pending.end());
    return m_subscriptions.erase(subscriptionId) == 1;
}

std::uint32_t Publisher::add(std::uint32_t subscriptionId, std::uint32_t clientHandle,
                             const std::string& nodeId) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_items.push_back({subscriptionId, ++m_lastItemId, clientHandle, nodeId});
    if (m_firstValues)
        m_subscriptions[subscriptionId].firstValues.push_back({clientHandle, firstValue});
    return m_lastItemId;
}

bool Publisher::removeItem(std::uint32_t itemId) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = std::find_if(m_items.begin(), m_items.end(),
                                    [itemId](const Item& item) { return item.itemId == itemId; });
    if (found == m_items.end())
        return false;
    m_items.erase(found);
    return true;
}

void Publisher::take(const Call& publish) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto& request = publish.request<UA_PublishRequest>();
        std::vector<UA_StatusCode> results;
        for (std::size_t i = 0; i < request.subscriptionAcknowledgementsSize; ++i)
            results.push_back(acknowledge(request.subscriptionAcknowledgements[i]));
        m_waiting.push_back({publish, std::move(results)});
        m_changed.notify_all();
    }
    flush();
}

bool Publisher::republish(const UA_RepublishRequest& request, UA_NotificationMessage& message) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_askedAgain.push_back(request.retransmitSequenceNumber);
    const auto subscription = m_subscriptions.find(request.subscriptionId);
    if (subscription == m_subscriptions.end())
        return false;
    const auto kept = subscription->second.kept.find(request.retransmitSequenceNumber);
    if (kept == subscription->second.kept.end())
        return false;
    fillMessage(message, kept->first, kept->second);
    return true;
}

UA_StatusCode Publisher::acknowledge(const UA_SubscriptionAcknowledgement& acknowledgement) {
    const auto subscription = m_subscriptions.find(acknowledgement.subscriptionId);
    if (subscription == m_subscriptions.end())
        return UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID;
    m_acknowledged.push_back(acknowledgement.sequenceNumber);
    m_changed.notify_all();
    return subscription->second.kept.erase(acknowledgement.sequenceNumber) == 1
               ? UA_STATUSCODE_GOOD
               : UA_STATUSCODE_BADSEQUENCENUMBERUNKNOWN;
}

std::optional<std::pair<Publisher::Waiting, Publisher::Pending>> Publisher::takeMatch() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (auto& [id, subscription] : m_subscriptions)
        if (!subscription.firstValues.empty())
            publishLocked(id, std::exchange(subscription.firstValues, {}));
    while (!m_waiting.empty() && !m_waiting.front().call.connection().isOpen())
        m_waiting.pop_front();
    if (m_waiting.empty() || m_pending.empty())
        return std::nullopt;
    std::pair<Waiting, Pending> match(m_waiting.front(), m_pending.front());
    m_waiting.pop_front();
    m_pending.pop_front();
    return match;
}

void Publisher::send(const Waiting& waiting, const Pending& pending) const {
    Owned<UA_PublishResponse> response =
        dataChange(pending.subscriptionId, pending.sequenceNumber, pending.changes);
    resize(response->results, response->resultsSize, waiting.results.size());
    std::copy(waiting.results.begin(), waiting.results.end(), response->results);
    const std::vector<std::uint32_t> available = keptOf(pending.subscriptionId);
    resize(response->availableSequenceNumbers, response->availableSequenceNumbersSize, available.size());
    std::copy(available.begin(), available.end(), response->availableSequenceNumbers);
    waiting.call.answer(*response);
}

void Publisher::flush() {
    while (const auto match = takeMatch())
        send(match->first, match->second);
}

bool Publisher::isEmpty() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_subscriptions.empty();
}

void Publisher::end(UA_StatusCode status) {
    std::deque<Waiting> waiting;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        waiting.swap(m_waiting);
        m_subscriptions.clear();
        m_items.clear();
        m_pending.clear();
    }
    for (const Waiting& one : waiting)
        one.call.fault(status);
}

} // namespace scripted
