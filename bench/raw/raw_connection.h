#pragma once

#include <string>

#include <open62541/client.h>

namespace bench {

/// What all raw connections have in common. The caller adds a security policy.
UA_ClientConfig rawConfiguration();

/// One connection of the engine, opened and closed without the engine's own waits: its synchronous disconnect
/// runs the loop for up to 100 ms after the socket has gone, and so does deleting a client whose loop is not
/// at rest.
class RawConnection {
public:
    enum class Purpose { Session, Query };

    /// Takes the configuration over. Trusts this one server certificate (DER), or every one when it is empty.
    RawConnection(UA_ClientConfig& config, const std::string& url, Purpose purpose,
                  const std::string& trustedServer = {});
    ~RawConnection();
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;

    UA_Client* handle() const { return m_client; }

private:
    void open(const std::string& url);
    bool isOpen() const;
    void close();
    void release();

    Purpose m_purpose;
    UA_Client* m_client;
};

} // namespace bench
