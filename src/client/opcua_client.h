#pragma once

#include <map>
#include <memory>

#include "OpcUaClientInterface.h"
#include "browse/node_lookup.h"
#include "client/client_session.h"
#include "client/last_error.h"
#include "client/platform.h"
#include "client/result_codes.h"
#include "security/configuration.h"
#include "uabase/node_id.h"
#include "uaclient/service_settings.h"

class CCallback;

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
    const Platform m_platform; ///< outlives all else that is the SDK's
    LastError m_error;
    COpcUaNodelist m_nodes;
    NodeLookup m_lookup{m_nodes};
    /// The SDK may still call it, from inside the application's callback, when this is gone.
    std::shared_ptr<CCallback> m_callback;
    ClientSession m_session;
    Configuration m_configuration;
    void* m_owningClient = nullptr;
    /// Of the calls that delete items and subscription.
    UaClientSdk::ServiceSettings m_removalSettings;
};
