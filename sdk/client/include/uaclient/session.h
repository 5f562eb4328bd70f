#pragma once

#include <memory>

#include "uabase/arrays.h"
#include "uabase/byte_string.h"
#include "uabase/node_id.h"
#include "uabase/status.h"
#include "uabase/string.h"
#include "uaclient/callbacks.h"
#include "uaclient/request_sequence.h"
#include "uaclient/security_info.h"
#include "uaclient/service_settings.h"
#include "uaclient/session_connect_info.h"
#include "uaclient/subscription.h"
#include "uastack/export.h"

namespace UaClientSdk {

/// OPC UA Part 4, 5.9.2: what a browse asks for.
struct BrowseContext {
    OpcUa_BrowseDirection browseDirection = OpcUa_BrowseDirection_Forward;
    UaNodeId referenceTypeId;
    bool includeSubtypes = true;
    OpcUa_UInt32 nodeClassMask = 0;
    OpcUa_UInt32 resultMask = 0x3F;
    OpcUa_UInt32 maxReferencesToReturn = 0;
};

/// One session on one server.
///
/// Service calls run on the calling thread and may be made by several threads at a time: their requests go
/// out one after the other, and each takes its own answer. Threads of the session's own keep the connection
/// (channel renewal, watchdog), report its state and, once there is a subscription, deliver data, so a
/// callback may block without harm to the connection. Nothing reconnects by itself: a lost connection is
/// reported, and every later call answers OpcUa_BadServerNotConnected.
class UASDK_EXPORT UaSession {
public:
    UaSession();
    /// Disconnects if need be. May be called from inside a callback of the session.
    ~UaSession();
    UaSession(const UaSession&) = delete;
    UaSession& operator=(const UaSession&) = delete;

    /// Opens channel and session. On success the callback has been told Connected before this returns. On
    /// failure nothing is left open, here or on the server. `callback` may be null and must outlive the
    /// session. Frees what belonged to the connection before: not while a call of another thread, begun on
    /// that one, has not returned.
    UaStatus connect(const UaString& url, SessionConnectInfo& connectInfo, SessionSecurityInfo& securityInfo,
                     UaSessionCallback* callback);
    /// Closes session and channel; the callback has been told Disconnected before this returns. Good also
    /// when the server is gone already. Gives the server half a second to answer, and none when it is silent.
    /// Waits for a callback that is running, except when called by it.
    UaStatus disconnect(ServiceSettings& settings, bool deleteSubscriptions);
    bool isConnected() const;
    /// Whether on the latest connection something was lost while several requests of a sequence were on their
    /// way: the connection itself, or the answer to one of two. It may be that the server can't do with that:
    /// SessionConnectInfo::requestsAhead.
    bool wasLostAhead() const;

    /// OPC UA Part 4, 5.11.2. On success `values` has as many elements as `nodesToRead`.
    UaStatus read(ServiceSettings& settings, OpcUa_Double maxAge, OpcUa_TimestampsToReturn timestamps,
                  const UaReadValueIds& nodesToRead, UaDataValues& values, UaDiagnosticInfos& diagnostics);
    /// The same for requests that need not wait for each other.
    void read(ServiceSettings& settings, OpcUa_Double maxAge, OpcUa_TimestampsToReturn timestamps,
              const ReadSequence& sequence);
    /// OPC UA Part 4, 5.11.4. On success `results` has as many elements as `nodesToWrite`.
    UaStatus write(ServiceSettings& settings, const UaWriteValues& nodesToWrite, UaStatusCodeArray& results,
                   UaDiagnosticInfos& diagnostics);
    /// OPC UA Part 4, 5.9.2. `continuationPoint` is empty when the answer is complete.
    UaStatus browse(ServiceSettings& settings, const UaNodeId& nodeToBrowse, const BrowseContext& context,
                    UaByteString& continuationPoint, UaReferenceDescriptions& references);
    /// OPC UA Part 4, 5.9.3. Replaces `references` by the next page, or gives the continuation point back.
    UaStatus browseNext(ServiceSettings& settings, bool releaseContinuationPoint,
                        UaByteString& continuationPoint, UaReferenceDescriptions& references);

    /// OPC UA Part 4, 5.14.2. On success `*subscription` is one that the session owns. `callback` may be null
    /// and must outlive the session.
    UaStatus createSubscription(ServiceSettings& settings, UaSubscriptionCallback* callback,
                                unsigned int clientSubscriptionHandle, SubscriptionSettings& parameters,
                                unsigned char publishingEnabled, UaSubscription** subscription);
    /// OPC UA Part 4, 5.14.8. Frees the subscription and sets `*subscription` to null whatever the server
    /// answers. Does not wait for a callback that is running, so it may be called while that one waits for a
    /// lock of the caller; but not while another thread calls a function of the subscription. `wait` is not
    /// used: nothing here has to settle.
    UaStatus deleteSubscription(ServiceSettings& settings, UaSubscription** subscription, unsigned int wait);

    class Impl;

private:
    std::unique_ptr<Impl> m_impl;
};

} // namespace UaClientSdk
