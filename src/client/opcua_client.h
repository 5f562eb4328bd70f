#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <pthread.h>

#include "OpcUaClientInterface.h"
#include "client/batches.h"
#include "client/result_codes.h"
#include "client/visibility.h"
#include "uabase/node_id.h"
#include "uaclient/session.h"

class CCallback;
class Configuration;
class MutexLock;
class NodeLookup;

/// One client: its session, its node records and its last error. Members are implemented in the folder of
/// their subject: connection in client/ and security/, node records in browse/, values in values/ and so on.
class OPCUACLIENT_EXPORT COpcUaClient : public COpcUaClientImp {
public:
    COpcUaClient();
    ~COpcUaClient() override;
    COpcUaClient(const COpcUaClient&) = delete;
    COpcUaClient& operator=(const COpcUaClient&) = delete;

    int OpcUaInit(_OpcUaClientTraceLevel level) override;
    int OpcUaDiscover(char* discoveryUrl, _OpcUa_ServerConfigMsg& result) override;
    int OpcUaConnect(_OpcUaClientConfig& config) override;
    int OpcUaDisConnect() override;
    int OpcUaBrowse(OpcUaNode* node) override;
    int OpcUaGetValue(OpcUaNode* node, void* buffer, int& size) override;
    int OpcUaSetValue(OpcUaNode* node, const void* buffer, int& size) override;
    int OpcUaCreateSubScription(double publishingInterval) override;
    int OpcUaDeleteSubScription() override;
    int OpcUaAddMonitNode(OpcUaNode* node, unsigned long* index, int count) override;
    int OpcUaRemoveMonitNode(OpcUaNode* node, unsigned long* index, int count) override;
    int OpcUaClearMonitNode() override;
    OpcUaNode* OpcUaReadRootNode() override;
    OpcUaNode* OpcUaGetUaNode(const char* nodeId, _OpcUaDataType dataType) override;
    int OpcUaGetConnectStatus() override;
    char* GetErrorMsg(char* buffer, int size) override;
    int installOpcUaCallBack(void* callback) override;
    void installClient(void* client) override;
    int OpcUaGetArrayValue(OpcUaNode* node, unsigned long* index, int count, void* buffer,
                           int& size) override;
    int OpcUaSetArrayValue(OpcUaNode* node, unsigned long* index, int count, const void* buffer,
                           int& size) override;
    int OpcUaGetMultiValue(OpcUa_ReadNode* nodes, int count) override;
    int OpcUaSetMultiValue(OpcUa_WriteNode* nodes, int count) override;
    int OpcUaAddMultiMonitNode(OpcUaNode* nodes, int count) override;

    /// Directory of the running executable, or the absolute one that OPCUACLIENT_DIRECTORY names, without a
    /// trailing slash, in 4096 chars that the caller frees with delete[]; null when it cannot be told.
    char* getAppPath();

    /// Puts policy, mode and server certificate into the session's security.
    void SetEndpointMsg(_OpcUaClientConfig& config, _OpcUa_ByteString serverCertificate,
                        UaClientSdk::SessionSecurityInfo& securityInfo);
    /// Describes a certificate (DER); the texts are empty when the bytes are none.
    void GetServerCertMsg(UaByteString certificateData, _OpcUaCertificateMsg& message);
    /// Decides on the server certificate in `securityInfo`: 0 when the connect may go on, else its result
    /// code.
    int checkServerCertificateTrust(UaClientSdk::SessionSecurityInfo& securityInfo);

    /// Hangs the children that the server gives for `start` under `parent`. False when a service failed, or
    /// gave more than OpcUaBrowse() takes; what was linked until then stays. `found` is not used.
    bool browseInternal(const UaNodeId& start, OpcUaNode* parent, OpcUaNode* found);
    /// Does nothing; true.
    bool ContinueBrowse(OpcUaNode* node, OpcUaNode* found);
    /// Sets `*out` to the NodeId that the record names, the null NodeId when its text is none. Always true.
    bool SetNodeID(OpcUaNode* node, UaNodeId* out);
    /// Tells type and shape of the value that the node holds now. False when the server could not be asked; a
    /// value that is not good has type Null and leaves `shape` alone.
    bool ReadDataType(UaNodeId id, _OpcUaDataType& type, _ArrayType& shape);

    /// Position of a matrix element in row-major order (flatPosition()).
    int ChangeArray(unsigned long* index, unsigned long* dims, int count);
    /// Copies the records of all monitored items under 0, 1, 2, ... into `out`, which is not cleared. They
    /// share the node copies with the client. Takes no lock: not while items come or go.
    void ReturnMonitorItemMsg(std::map<unsigned int, _monitItemMsg>& out);

private:
    /// Stores the message of a failure and returns its code.
    OPCUACLIENT_LOCAL int fail(const Failure& failure);
    OPCUACLIENT_LOCAL int fail(int code, const char* text) { return fail(Failure{code, text}); }
    /// The session that there is, connected or not; null without one. It stays usable when another thread
    /// disconnects meanwhile: its calls fail then.
    OPCUACLIENT_LOCAL std::shared_ptr<UaClientSdk::UaSession> session() const;
    /// The session if it is connected, else null.
    OPCUACLIENT_LOCAL std::shared_ptr<UaClientSdk::UaSession> connectedSession() const;
    /// Calls `action` with the connected session while this operation has it alone, or tells that there is
    /// none.
    template <typename Action>
    OPCUACLIENT_LOCAL int withSession(Action action);

    OPCUACLIENT_LOCAL void loadConfiguration();
    /// How many requests may be on their way to this server at a time.
    OPCUACLIENT_LOCAL unsigned int requestsAhead(const std::string& url);
    OPCUACLIENT_LOCAL int openSession(_OpcUaClientConfig& config, UaClientSdk::UaSession& session);
    OPCUACLIENT_LOCAL int setUserIdentity(const _OpcUaClientConfig& config,
                                          UaClientSdk::SessionSecurityInfo& securityInfo);
    OPCUACLIENT_LOCAL int prepareSecurity(_OpcUaClientConfig& config, const UaString& url,
                                          UaClientSdk::SessionSecurityInfo& securityInfo);
    class SessionEnd;
    /// Forgets session and subscription, connected or not.
    OPCUACLIENT_LOCAL void releaseSession();
    OPCUACLIENT_LOCAL void releaseSession(const SessionEnd& end);
    /// Locks the bookkeeping of the items behind the change that is being delivered; what was to be delivered
    /// with it is dropped.
    OPCUACLIENT_LOCAL MutexLock endDeliveryAndLock();

    OPCUACLIENT_LOCAL void freeBrowseTree();
    OPCUACLIENT_LOCAL int browseRoot(OpcUaNode* root, const UaNodeId& id);
    OPCUACLIENT_LOCAL int browseKnownNode(OpcUaNode* node, const UaNodeId& id);
    OPCUACLIENT_LOCAL int browseUnder(OpcUaNode* parent, OpcUaNode* found, const UaNodeId& id);
    /// What ReadDataType() makes of the answer to its read.
    OPCUACLIENT_LOCAL bool takeDataType(UaStatus status, UaDataValues& values, _OpcUaDataType& type,
                                        _ArrayType& shape);

    /// Calls `serve` with the connected session while this operation has it alone, or tells each node that
    /// there is none.
    template <typename RequestNode, typename Serve>
    OPCUACLIENT_LOCAL int serveNodes(RequestNode* nodes, int count, Serve serve);
    OPCUACLIENT_LOCAL void takeValues(const Batch<OpcUa_ReadNode>& batch, UaStatus status,
                                      const UaDataValues& values);
    OPCUACLIENT_LOCAL void takeResults(const Batch<OpcUa_WriteNode>& batch, UaStatus status,
                                       const UaStatusCodeArray& results);

    /// Calls `action` with the subscription while the bookkeeping of its items is locked, or tells why not.
    template <typename Action>
    OPCUACLIENT_LOCAL int withMonitoredItems(const Failure& sinkMissing, Action action);
    OPCUACLIENT_LOCAL int addItem(UaClientSdk::UaSubscription& subscription, OpcUaNode& node,
                                  const unsigned long* index, int count);
    struct NewItem;
    OPCUACLIENT_LOCAL int addItems(UaClientSdk::UaSubscription& subscription, OpcUaNode* nodes, int count);
    /// Adds to `created` what came of a batch whose first item has this key. Returns the key behind the last.
    OPCUACLIENT_LOCAL unsigned int takeItems(const Batch<OpcUaNode>& batch, unsigned int key, UaStatus status,
                                             const UaMonitoredItemCreateResults& results,
                                             std::vector<NewItem>& created);
    OPCUACLIENT_LOCAL int removeItem(UaClientSdk::UaSubscription& subscription, const OpcUaNode& node,
                                     const unsigned long* index, int count);
    OPCUACLIENT_LOCAL int removeAllItems(UaClientSdk::UaSubscription& subscription);
    /// Settings of the calls that delete items and subscription.
    OPCUACLIENT_LOCAL UaClientSdk::ServiceSettings removalSettings() const;

    OpcUaNode* m_browseCursor; ///< root that browsing made last; a record of the browse tree
    std::atomic<const char*> m_errorText;
    std::shared_ptr<UaClientSdk::UaSession> m_session; ///< null while not connected; read and set atomically
    /// The session's own; null when there is none. A callback may disconnect while others look.
    std::atomic<UaClientSdk::UaSubscription*> m_subscription;
    std::unique_ptr<COpcUaNodelist> m_nodeList;
    std::unique_ptr<CCallback> m_callback;
    unsigned int m_monitoredItemHandle; ///< key of the next monitored item
    void* m_owningClient;
    std::unique_ptr<Configuration> m_configuration;
    void* m_applicationCallback; ///< COpcUaClientInterface::OpcUaCallBack, the application's own
    pthread_mutex_t m_mutex;     ///< serialises what uses the session
    std::unique_ptr<NodeLookup> m_lookup;
    bool m_ending = false;       ///< in the destructor
    bool m_unheardAtEnd = false; ///< the server has let pass what time it is given there
    std::mutex m_sessionMutex;   ///< held by who puts a session in place or ends it; guards the next two, too
    std::string m_sessionUrl;
    std::set<std::string> m_carefulUrls; ///< something was lost with several requests on their way
};
