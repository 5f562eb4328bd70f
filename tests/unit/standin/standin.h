#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <variant>
#include <vector>

#include "uabase/arrays.h"
#include "uabase/byte_string.h"
#include "uabase/status.h"
#include "uabase/variant.h"
#include "uaclient/callbacks.h"
#include "uaclient/discovery.h"
#include "uaclient/session.h"

/// Control of the scripted libuaclientcpp: it keeps a record of every call that reaches it and answers what
/// the test told it. Only this library exports script(), so a program that finds it runs against the
/// stand-in.
namespace standin {

struct ConnectRequest {
    std::string url;
    UaClientSdk::SessionConnectInfo info;
    std::string securityPolicyUri;
    OpcUa_MessageSecurityMode securityMode;
    UaByteString serverCertificate;
    bool verifiesServerCertificate;
    UaClientSdk::UaSessionCallback* callback;
};

struct DisconnectRequest {
    UaClientSdk::ServiceSettings settings;
    bool deleteSubscriptions;
};

struct ReadItem {
    std::string nodeId;
    OpcUa_UInt32 attributeId;
    std::string indexRange;
    std::string dataEncoding;
};

struct ReadRequest {
    UaClientSdk::ServiceSettings settings;
    OpcUa_Double maxAge;
    OpcUa_TimestampsToReturn timestamps;
    std::vector<ReadItem> items;
};

struct WriteItem {
    std::string nodeId;
    OpcUa_UInt32 attributeId;
    std::string indexRange;
    UaVariant value;
    bool hasValue;
    bool hasStatus;
    bool hasTimestamps;
    const void* memory; ///< where the library had the value; `value` is a copy
};

struct WriteRequest {
    UaClientSdk::ServiceSettings settings;
    std::vector<WriteItem> items;
};

struct BrowseRequest {
    UaClientSdk::ServiceSettings settings;
    std::string nodeId;
    UaClientSdk::BrowseContext context;
    UaByteString continuationPoint;
    OpcUa_UInt32 referencesOnEntry;
};

struct BrowseNextRequest {
    UaClientSdk::ServiceSettings settings;
    bool releaseContinuationPoint;
    UaByteString continuationPoint;
    const UaReferenceDescriptions* references;
};

struct CreateSubscriptionRequest {
    UaClientSdk::ServiceSettings settings;
    UaClientSdk::UaSubscriptionCallback* callback;
    unsigned int clientHandle;
    UaClientSdk::SubscriptionSettings parameters;
    unsigned char publishingEnabled;
};

struct DeleteSubscriptionRequest {
    UaClientSdk::ServiceSettings settings;
    const UaClientSdk::UaSubscription* subscription;
    unsigned int wait;
};

struct MonitorItem {
    ReadItem node;
    OpcUa_MonitoringMode mode;
    OpcUa_UInt32 clientHandle;
    OpcUa_Double samplingInterval;
    bool hasFilter;
    OpcUa_UInt32 queueSize;
    bool discardOldest;
};

struct CreateItemsRequest {
    UaClientSdk::ServiceSettings settings;
    OpcUa_TimestampsToReturn timestamps;
    std::vector<MonitorItem> items;
};

struct DeleteItemsRequest {
    UaClientSdk::ServiceSettings settings;
    std::vector<OpcUa_UInt32> ids;
};

/// Of findServers and getEndpoints alike; the last two tell which objects the caller used.
struct DiscoveryRequest {
    UaClientSdk::ServiceSettings settings;
    std::string url;
    const UaClientSdk::UaDiscovery* discovery;
    const UaClientSdk::ClientSecurityInfo* security;
};

using Arguments =
    std::variant<std::monostate, ConnectRequest, DisconnectRequest, ReadRequest, WriteRequest, BrowseRequest,
                 BrowseNextRequest, DiscoveryRequest, CreateSubscriptionRequest, DeleteSubscriptionRequest,
                 CreateItemsRequest, DeleteItemsRequest, std::string>;

/// What the test program sees at the moment of a call, measured by its own probe.
struct Surroundings {
    std::vector<int>
        heldMutexes;      ///< of the client, by the calling thread; numbered in order of initialisation
    long liveRecords = 0; ///< node records on the heap
};

struct Call {
    std::string operation; ///< for example "UaSession::read"
    const void* object;    ///< the session, discovery or security info; null for a static operation
    Arguments arguments;
    Surroundings surroundings;
};

/// Records and answers. Every answer has a default: services succeed, reads give good empty values, writes
/// good results, browses and queries nothing; a sequence is served one request after the other, each as the
/// operation for a single one; a session is connected from connect to disconnect, and owns its
/// subscriptions until then. A monitored item's id is its client handle + 5000. The stand-in reports nothing
/// by itself: that is sessionCallback()'s and subscriptionCallback()'s to do.
class UASDK_EXPORT Script {
public:
    std::function<UaStatus(const ConnectRequest&)> onConnect;
    std::function<UaStatus(const DisconnectRequest&)> onDisconnect;
    std::function<bool()> onIsConnected;
    /// Asked without a record.
    std::function<bool()> onWasLostAhead;
    std::function<UaStatus(const ReadRequest&, UaDataValues&)> onRead;
    std::function<UaStatus(const WriteRequest&, UaStatusCodeArray&)> onWrite;
    std::function<UaStatus(const BrowseRequest&, UaByteString&, UaReferenceDescriptions&)> onBrowse;
    std::function<UaStatus(const BrowseNextRequest&, UaByteString&, UaReferenceDescriptions&)> onBrowseNext;
    std::function<UaStatus(const DiscoveryRequest&, UaApplicationDescriptions&)> onFindServers;
    std::function<UaStatus(const DiscoveryRequest&, UaEndpointDescriptions&)> onGetEndpoints;
    /// For every operation on a security info that has a status, by its name.
    std::function<UaStatus(const std::string& operation)> onSecurity;
    std::function<UaStatus(const CreateSubscriptionRequest&)> onCreateSubscription;
    std::function<UaStatus(const DeleteSubscriptionRequest&)> onDeleteSubscription;
    std::function<UaStatus(const CreateItemsRequest&, UaMonitoredItemCreateResults&)> onCreateItems;
    std::function<UaStatus(const DeleteItemsRequest&, UaStatusCodeArray&)> onDeleteItems;
    std::function<Surroundings()> probe;

    /// Forgets records and answers.
    void reset();
    /// Forgets the records, keeps the answers.
    void forgetCalls();

    void record(std::string operation, const void* object = nullptr, Arguments arguments = {});

    std::vector<Call> calls() const;
    /// Sequences of requests that were handed over whole: their requests need not wait for each other.
    int sequences() const { return m_sequences; }
    void countSequence() { ++m_sequences; }
    /// Names of the calls in order.
    std::vector<std::string> operations() const;
    /// Arguments of all calls of one kind, in order.
    template <typename Request>
    std::vector<Request> requests() const {
        std::vector<Request> result;
        for (const Call& call : calls())
            if (const Request* request = std::get_if<Request>(&call.arguments))
                result.push_back(*request);
        return result;
    }

    /// The callback that the last connect was given.
    UaClientSdk::UaSessionCallback* sessionCallback() const { return m_sessionCallback; }
    void setSessionCallback(UaClientSdk::UaSessionCallback* callback) { m_sessionCallback = callback; }
    /// The callback that the last subscription was given.
    UaClientSdk::UaSubscriptionCallback* subscriptionCallback() const { return m_subscriptionCallback; }
    void setSubscriptionCallback(UaClientSdk::UaSubscriptionCallback* callback) {
        m_subscriptionCallback = callback;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<Call> m_calls;
    std::atomic<int> m_sequences{0};
    UaClientSdk::UaSessionCallback* m_sessionCallback = nullptr;
    UaClientSdk::UaSubscriptionCallback* m_subscriptionCallback = nullptr;
};

UASDK_EXPORT Script& script();

} // namespace standin
