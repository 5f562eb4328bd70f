#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "client_fixture.h"
#include "support/temporary_directory.h"

/// A server of another family, its certificates in a directory of their own. Which version of it the
/// environment says: INTEROP_VERSION.
class InteropServer {
public:
    /// @param identity  a certificate chain and its key, or nothing for a certificate that it makes for
    /// itself
    explicit InteropServer(const std::vector<std::string>& identity = {})
        : m_process(INTEROP_FOLDER "/start.sh", arguments(m_directory.path().string(), identity)) {}

    const std::string& url() const { return m_process.url(); }

private:
    static std::vector<std::string> arguments(const std::string& directory,
                                              const std::vector<std::string>& identity) {
        const char* const version = std::getenv("INTEROP_VERSION");
        std::vector<std::string> all{version != nullptr ? version : INTEROP_NEWEST, directory};
        all.insert(all.end(), identity.begin(), identity.end());
        return all;
    }

    test_support::TemporaryDirectory m_directory;
    test_support::ServerProcess m_process;
};

/// A client, and the server that all cases of the program share: it takes seconds to start.
class InteropTest : public ClientTest {
protected:
    static void SetUpTestSuite() {
        if (!server)
            server = std::make_unique<InteropServer>();
    }

    static const std::string& url() { return server->url(); }

    /// Reads what the server starts with, writes something else and reads that.
    template <typename Value>
    void roundTrip(const std::string& name, _OpcUaDataType type, Value initial, Value other) {
        const std::string id = "ns=2;s=Scalar." + name;
        EXPECT_EQ(read<Value>(id, type), initial) << name;
        EXPECT_EQ(write(id, type, other), 0) << name;
        EXPECT_EQ(read<Value>(id, type), other) << name;
    }
    /// A number that the server counts.
    unsigned counted(const std::string& what) {
        return read<unsigned>("ns=2;s=" + what, OpcUaDataType_UInt32);
    }

private:
    static inline std::unique_ptr<InteropServer> server;
};
