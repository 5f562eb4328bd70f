#include "facade/facade_client.h"

#include <array>
#include <stdexcept>
#include <string>

#include "surroundings/plant_nodes.h"

namespace bench {

namespace {

// As _OpcUaClientConfig numbers them.
constexpr int basic256Sha256 = 3;
constexpr int signAndEncrypt = 2;

} // namespace

FacadeClient::FacadeClient(const std::string& url, Security security) {
    setField(m_config.endpointUrl, url);
    setField(m_folder.nodeId, plant_nodes::manyChildren);
    m_config.timeout = 10000;
    if (security == Security::SignAndEncrypt) {
        m_config.securityPolicy = basic256Sha256;
        m_config.securityMode = signAndEncrypt;
    }
    m_client.OpcUaInit(OpcUaTraceLevel_Warnings);
    require(m_client.OpcUaConnect(m_config), "connect");
    m_scalar = m_client.OpcUaGetUaNode(plant_nodes::scalar, OpcUaDataType_Double);
}

void FacadeClient::require(int code, const char* operation) {
    if (code != 0) {
        std::array<char, 256> text{};
        m_client.GetErrorMsg(text.data(), static_cast<int>(text.size()));
        throw std::runtime_error(std::string("facade ") + operation + ": " + std::to_string(code) + " " +
                                 text.data());
    }
}

double FacadeClient::readScalar() {
    double value = 0;
    int size = sizeof value;
    require(m_client.OpcUaGetValue(m_scalar, &value, size), "read");
    return value;
}

void FacadeClient::writeScalar(double value) {
    int size = sizeof value;
    require(m_client.OpcUaSetValue(m_scalar, &value, size), "write");
}

int FacadeClient::browseChildren() {
    // The first browse puts a root of its own above the children; from then on that one is browsed.
    OpcUaNode* const root = m_client.OpcUaReadRootNode();
    require(m_client.OpcUaBrowse(root != nullptr ? root : &m_folder), "browse");
    int children = 0;
    for (const OpcUaNode* node = m_client.OpcUaReadRootNode()->child; node != nullptr; node = node->next)
        ++children;
    return children;
}

void FacadeClient::reconnect() {
    require(m_client.OpcUaDisConnect(), "disconnect");
    require(m_client.OpcUaConnect(m_config), "connect");
}

} // namespace bench
