#pragma once

#include <string>

#include "raw/raw_connection.h"

namespace bench {

struct RawIdentity;

/// The baseline: the engine by itself, used as straight as it can be for the same requests. Every failure is
/// a std::runtime_error.
class RawClient {
public:
    explicit RawClient(const std::string& url);
    /// Over SignAndEncrypt: asks for the endpoints, verifies the server and connects.
    RawClient(const std::string& url, const RawIdentity& identity);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    double readScalar();
    void writeScalar(double value);
    /// One browse with its further pages, and one read of the Value for each child. Returns the number of
    /// children.
    int browseChildren();

    /// Handles what arrives and the timers that are due, for `milliseconds` at most.
    void iterate(UA_UInt32 milliseconds);
    UA_Client* handle() const { return m_connection.handle(); }

    /// The caller clears the response, which holds one good result.
    void readValue(const UA_NodeId& node, UA_ReadResponse& response);
    /// Only borrows the value.
    void writeValue(const UA_NodeId& node, const UA_Variant& value);

private:
    RawClient(UA_ClientConfig config, const std::string& url, const std::string& trustedServer);
    int readTypes(const UA_BrowseResult& page);

    RawConnection m_connection;
    UA_NodeId m_scalar;
    UA_NodeId m_folder;
};

} // namespace bench
