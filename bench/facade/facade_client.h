#pragma once

#include <cstddef>
#include <string>

#include "OpcUaClientInterface.h"

namespace bench {

/// The library as an application uses it. Every failure is a std::runtime_error.
class FacadeClient {
public:
    enum class Security { None, SignAndEncrypt };

    explicit FacadeClient(const std::string& url, Security security = Security::None);
    FacadeClient(const FacadeClient&) = delete;
    FacadeClient& operator=(const FacadeClient&) = delete;

    double readScalar();
    void writeScalar(double value);
    /// Browses the folder and returns the number of its children, types and all.
    int browseChildren();

    void reconnect();

    COpcUaClientInterface& interface() { return m_client; }
    /// Throws when `code` is not 0.
    void require(int code, const char* operation);

private:
    COpcUaClientInterface m_client;
    _OpcUaClientConfig m_config{};
    OpcUaNode* m_scalar = nullptr;
    OpcUaNode m_folder{};
};

/// A text for one of the interface's fields, which holds it.
template <std::size_t Size>
void setField(char (&field)[Size], const std::string& text) {
    text.copy(static_cast<char*>(field), Size - 1);
}

} // namespace bench
