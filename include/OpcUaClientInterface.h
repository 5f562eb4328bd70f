#ifndef OPCUA_CLIENT_INTERFACE_H
#define OPCUA_CLIENT_INTERFACE_H

#include "OpcUaNodelist.h"
#include "OpcUaTypes.h"

/// The implementation behind a client. Applications use COpcUaClientInterface; the order of these operations
/// is part of the binary interface.
class OPCUACLIENT_EXPORT COpcUaClientImp {
public:
    COpcUaClientImp();
    virtual ~COpcUaClientImp();

    virtual int OpcUaInit(_OpcUaClientTraceLevel level) = 0;
    virtual int OpcUaDiscover(char* discoveryUrl, _OpcUa_ServerConfigMsg& result) = 0;
    virtual int OpcUaConnect(_OpcUaClientConfig& config) = 0;
    virtual int OpcUaDisConnect() = 0;
    virtual int OpcUaBrowse(OpcUaNode* node) = 0;
    virtual int OpcUaGetValue(OpcUaNode* node, void* buffer, int& size) = 0;
    virtual int OpcUaSetValue(OpcUaNode* node, const void* buffer, int& size) = 0;
    virtual int OpcUaCreateSubScription(double publishingInterval) = 0;
    virtual int OpcUaDeleteSubScription() = 0;
    virtual int OpcUaAddMonitNode(OpcUaNode* node, unsigned long* index, int count) = 0;
    virtual int OpcUaRemoveMonitNode(OpcUaNode* node, unsigned long* index, int count) = 0;
    virtual int OpcUaClearMonitNode() = 0;
    virtual OpcUaNode* OpcUaReadRootNode() = 0;
    virtual OpcUaNode* OpcUaGetUaNode(const char* nodeId, _OpcUaDataType dataType) = 0;
    virtual int OpcUaGetConnectStatus() = 0;
    virtual char* GetErrorMsg(char* buffer, int size) = 0;
    virtual int installOpcUaCallBack(void* callback) = 0;
    virtual void installClient(void* client) = 0;
    virtual int OpcUaGetArrayValue(OpcUaNode* node, unsigned long* index, int count, void* buffer,
                                   int& size) = 0;
    virtual int OpcUaSetArrayValue(OpcUaNode* node, unsigned long* index, int count, const void* buffer,
                                   int& size) = 0;
    virtual int OpcUaGetMultiValue(OpcUa_ReadNode* nodes, int count) = 0;
    virtual int OpcUaSetMultiValue(OpcUa_WriteNode* nodes, int count) = 0;
    virtual int OpcUaAddMultiMonitNode(OpcUaNode* nodes, int count) = 0;
};

/// One client: one connection to one server.
class OPCUACLIENT_EXPORT COpcUaClientInterface {
public:
    /// What the application implements to be called back. The library never deletes it.
    class OpcUaCallBack {
    public:
        virtual void OpcUaDataChange(_OpcUaDataChangeMsg message) = 0;
        virtual int OpcUaTrustServerCertificate(_OpcUaCertificateMsg certificate) = 0;

    protected:
        ~OpcUaCallBack() = default;
    };

    COpcUaClientInterface();
    virtual ~COpcUaClientInterface();
    COpcUaClientInterface(const COpcUaClientInterface&) = delete;
    COpcUaClientInterface& operator=(const COpcUaClientInterface&) = delete;

    int OpcUaInit(_OpcUaClientTraceLevel level);
    int OpcUaDiscover(char* discoveryUrl, _OpcUa_ServerConfigMsg& result);
    int OpcUaConnect(_OpcUaClientConfig& config);
    int OpcUaDisConnect();
    int OpcUaBrowse(OpcUaNode* node);
    int OpcUaGetValue(OpcUaNode* node, void* buffer, int& size);
    int OpcUaSetValue(OpcUaNode* node, const void* buffer, int& size);
    int OpcUaCreateSubScription(double publishingInterval);
    int OpcUaDeleteSubScription();
    int OpcUaAddMonitNode(OpcUaNode* node, unsigned long* index, int count);
    int OpcUaRemoveMonitNode(OpcUaNode* node, unsigned long* index, int count);
    int OpcUaClearMonitNode();
    OpcUaNode* OpcUaReadRootNode();
    OpcUaNode* OpcUaGetUaNode(const char* nodeId, _OpcUaDataType dataType);
    int OpcUaGetConnectStatus();
    char* GetErrorMsg(char* buffer, int size);
    int installOpcUaCallBack(OpcUaCallBack* callback);
    int OpcUaGetArrayValue(OpcUaNode* node, unsigned long* index, int count, void* buffer, int& size);
    int OpcUaSetArrayValue(OpcUaNode* node, unsigned long* index, int count, const void* buffer, int& size);
    int OpcUaGetMultiValue(OpcUa_ReadNode* nodes, int count);
    int OpcUaSetMultiValue(OpcUa_WriteNode* nodes, int count);
    int OpcUaAddMultiMonitNode(OpcUaNode* nodes, int count);

private:
    COpcUaClientImp* m_client;
};

#endif
