#include "OpcUaClientInterface.h"
#include "client/opcua_client.h"
#include "client/result_codes.h"

COpcUaClientImp::COpcUaClientImp() = default;
COpcUaClientImp::~COpcUaClientImp() = default;

COpcUaClientInterface::COpcUaClientInterface() : m_client(nullptr) {
    auto* client = new COpcUaClient;
    m_client = client;
    client->COpcUaClient::installClient(client);
}

COpcUaClientInterface::~COpcUaClientInterface() {
    delete m_client;
}

int COpcUaClientInterface::OpcUaInit(_OpcUaClientTraceLevel level) {
    return m_client->OpcUaInit(level);
}

int COpcUaClientInterface::OpcUaDiscover(char* discoveryUrl, _OpcUa_ServerConfigMsg& result) {
    return m_client->OpcUaDiscover(discoveryUrl, result);
}

int COpcUaClientInterface::OpcUaConnect(_OpcUaClientConfig& config) {
    return m_client->OpcUaConnect(config);
}

int COpcUaClientInterface::OpcUaDisConnect() {
    return m_client->OpcUaDisConnect();
}

int COpcUaClientInterface::OpcUaBrowse(OpcUaNode* node) {
    return m_client->OpcUaBrowse(node);
}

int COpcUaClientInterface::OpcUaGetValue(OpcUaNode* node, void* buffer, int& size) {
    return m_client->OpcUaGetValue(node, buffer, size);
}

int COpcUaClientInterface::OpcUaSetValue(OpcUaNode* node, const void* buffer, int& size) {
    return m_client->OpcUaSetValue(node, buffer, size);
}

int COpcUaClientInterface::OpcUaCreateSubScription(double publishingInterval) {
    return m_client->OpcUaCreateSubScription(publishingInterval);
}

int COpcUaClientInterface::OpcUaDeleteSubScription() {
    return m_client->OpcUaDeleteSubScription();
}

int COpcUaClientInterface::OpcUaAddMonitNode(OpcUaNode* node, unsigned long* index, int count) {
    return m_client->OpcUaAddMonitNode(node, index, count);
}

int COpcUaClientInterface::OpcUaRemoveMonitNode(OpcUaNode* node, unsigned long* index, int count) {
    return m_client->OpcUaRemoveMonitNode(node, index, count);
}

int COpcUaClientInterface::OpcUaClearMonitNode() {
    return m_client->OpcUaClearMonitNode();
}

OpcUaNode* COpcUaClientInterface::OpcUaReadRootNode() {
    return m_client->OpcUaReadRootNode();
}

OpcUaNode* COpcUaClientInterface::OpcUaGetUaNode(const char* nodeId, _OpcUaDataType dataType) {
    return m_client->OpcUaGetUaNode(nodeId, dataType);
}

int COpcUaClientInterface::OpcUaGetConnectStatus() {
    return m_client->OpcUaGetConnectStatus();
}

char* COpcUaClientInterface::GetErrorMsg(char* buffer, int size) {
    return m_client->GetErrorMsg(buffer, size);
}

int COpcUaClientInterface::installOpcUaCallBack(OpcUaCallBack* callback) {
    if (m_client == nullptr)
        return result::callbackSinkMissing.code;
    return m_client->installOpcUaCallBack(callback);
}

int COpcUaClientInterface::OpcUaGetArrayValue(OpcUaNode* node, unsigned long* index, int count, void* buffer,
                                              int& size) {
    return m_client->OpcUaGetArrayValue(node, index, count, buffer, size);
}

int COpcUaClientInterface::OpcUaSetArrayValue(OpcUaNode* node, unsigned long* index, int count,
                                              const void* buffer, int& size) {
    return m_client->OpcUaSetArrayValue(node, index, count, buffer, size);
}

int COpcUaClientInterface::OpcUaGetMultiValue(OpcUa_ReadNode* nodes, int count) {
    return m_client->OpcUaGetMultiValue(nodes, count);
}

int COpcUaClientInterface::OpcUaSetMultiValue(OpcUa_WriteNode* nodes, int count) {
    return m_client->OpcUaSetMultiValue(nodes, count);
}

int COpcUaClientInterface::OpcUaAddMultiMonitNode(OpcUaNode* nodes, int count) {
    return m_client->OpcUaAddMultiMonitNode(nodes, count);
}
