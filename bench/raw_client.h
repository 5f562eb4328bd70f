#pragma once

#include <open62541/client.h>

#include <memory>
#include <string>

namespace bench {

/// The baseline: the engine by itself, used as straight as it can be for the same requests. Every failure is
/// a std::runtime_error.
class RawClient {
public:
    explicit RawClient(const std::string& url);
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

private:
    struct Deleter {
        void operator()(UA_Client* client) const { UA_Client_delete(client); }
    };

    void readValue(const UA_NodeId& node, UA_ReadResponse& response);
    int readTypes(const UA_BrowseResult& page);

    std::unique_ptr<UA_Client, Deleter> m_client;
    UA_NodeId m_scalar = UA_NODEID_NULL;
    UA_NodeId m_folder = UA_NODEID_NULL;
};

} // namespace bench
