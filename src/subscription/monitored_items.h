#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "OpcUaTypes.h"
#include "client/mutex.h"
#include "uabase/arrays.h"

namespace UaClientSdk {
class UaSubscription;
}

/// A node whose value the server reports.
struct MonitoredItem {
    OpcUa_UInt32 id = 0;                   ///< the server's
    std::unique_ptr<OpcUaNode> node;       ///< copy of the application's record
    std::unique_ptr<_ArrayType> selection; ///< the element that it asked for; null for the whole value
};

/// The items of a client's subscription, each at its client handle: 1 to 20000, and then 1 again.
class MonitoredItems {
public:
    static constexpr unsigned int maximum = 20000;

    /// Null when there is none. Its session owns it. A callback may disconnect while others look.
    std::atomic<UaClientSdk::UaSubscription*> subscription{nullptr};
    /// The bookkeeping mutex: guards all that follows. A delivery holds it from beginning to end.
    Mutex mutex;
    /// Takes it, behind those that wait for it already: deliveries that follow each other closely would keep
    /// everybody else from it.
    std::unique_lock<Mutex> lock();

    /// Handle of the next item.
    unsigned int nextHandle() const { return m_nextHandle; }
    /// Uses it up.
    void advance() { m_nextHandle = handleAfter(m_nextHandle); }
    static unsigned int handleAfter(unsigned int handle) { return handle < maximum ? handle + 1 : 1; }

    /// Adds an item with a copy of its node. One that has the handle makes room: the server goes on sampling
    /// it.
    void add(unsigned int handle, OpcUa_UInt32 id, const OpcUaNode& node, const _ArrayType& selection);
    std::size_t count() const { return m_count; }
    /// Null when no item has the handle.
    const MonitoredItem* find(unsigned int handle) const {
        const std::size_t place = std::size_t{handle} - 1;
        return place < m_items.size() && m_items[place].node ? &m_items[place] : nullptr;
    }
    /// Handle of the first item, in the order of handles, whose node id begins with the text; with a
    /// selection it must have the very same one. 0 when there is none.
    unsigned int firstHandle(std::string_view nodeId, const _ArrayType& selection) const;
    /// The server's ids of all items, in the order of handles.
    void listIds(UaUInt32Array& ids) const;
    /// Calls `visit` with each handle and item, in their order.
    template <typename Visit>
    void forEach(Visit visit) const {
        for (unsigned int handle = 1; handle <= m_items.size(); ++handle)
            if (const MonitoredItem* item = find(handle))
                visit(handle, *item);
    }

    void forget(unsigned int handle);
    void forgetAll();
    /// The subscription with all its items. Nothing when there is none.
    void forgetSubscription();
    /// The same for this one. Nothing when it is another by now.
    void forgetSubscription(UaClientSdk::UaSubscription* which);

private:
    std::mutex m_turnstile;             ///< held by the next one to have the mutex
    std::vector<MonitoredItem> m_items; ///< by handle, from 1; without a node where there is none
    std::size_t m_count = 0;
    unsigned int m_nextHandle = 1;
};

/// One operation's turn at the items: no data change is delivered meanwhile. Locks nothing when there is no
/// subscription.
class ItemsTurn {
public:
    explicit ItemsTurn(MonitoredItems& items);

    /// Null when there is none.
    UaClientSdk::UaSubscription* subscription() const { return m_subscription; }

private:
    std::unique_lock<Mutex> m_lock;
    UaClientSdk::UaSubscription* m_subscription = nullptr;
};
