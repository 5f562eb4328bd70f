#pragma once

#include <atomic>
#include <map>
#include <mutex>

#include "uabase/notifications.h"
#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// The client handles of a subscription's items, as they are told to the server.
///
/// A server may have an item although nobody knows: its answer came too late, or could not be understood.
/// When the application gives that handle to its next item, the server gets another number, so that what
/// comes of the first is nobody's.
class ItemHandles {
public:
    /// Held by who asks for items, until it is known what became of them, and by who delivers, while he takes
    /// what there is: so no change is delivered under a handle that is being doubted.
    std::mutex asking;

    /// What to tell the server. There will be changes with handles up to this one.
    OpcUa_UInt32 toTell(OpcUa_UInt32 handle);
    /// The server may have the item. With `asking` held.
    void doubt(OpcUa_UInt32 handle);
    /// Whether what the server says stands for anything: it is not to fill a queue with handles it makes up.
    bool isExpected(OpcUa_UInt32 told) const;
    /// Puts the application's handles into the place of those that were told, 0 for what is nobody's. With
    /// `asking` held.
    void translate(UaMonitoredItemNotifications& changes) const;

private:
    OpcUa_UInt32 handleOf(OpcUa_UInt32 told) const;
    /// As it is told now. With m_mutex held.
    OpcUa_UInt32 withDoubts(OpcUa_UInt32 handle) const;

    std::atomic<OpcUa_UInt32> m_highest{0};
    std::atomic<bool> m_anyDoubted{false};
    mutable std::mutex m_mutex;
    std::map<OpcUa_UInt32, OpcUa_UInt32> m_doubts; ///< how often, of each handle; guarded by m_mutex
};

} // namespace UaClientSdk
