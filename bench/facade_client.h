#pragma once

#include "OpcUaClientInterface.h"

#include <string>

namespace bench {

/// The library as an application uses it. Every failure is a std::runtime_error.
class FacadeClient {
public:
    explicit FacadeClient(const std::string& url);
    FacadeClient(const FacadeClient&) = delete;
    FacadeClient& operator=(const FacadeClient&) = delete;

    double readScalar();
    void writeScalar(double value);
    /// Browses the folder and returns the number of its children, types and all.
    int browseChildren();

    void reconnect();

private:
    void require(int code, const char* operation);

    COpcUaClientInterface m_client;
    _OpcUaClientConfig m_config{};
    OpcUaNode* m_scalar = nullptr;
    OpcUaNode m_folder{};
};

} // namespace bench
