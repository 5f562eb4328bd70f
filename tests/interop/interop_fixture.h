#pragma once

#include <memory>
#include <string>

#include "client_fixture.h"
#include "support/temporary_directory.h"

/// A client, and the server of another family, its certificates in a directory of their own. All cases of
/// the program share the server: it takes seconds to start.
class InteropTest : public ClientTest {
protected:
    static void SetUpTestSuite() {
        if (!server) {
            server = std::make_unique<Server>();
        }
    }

    static const std::string& url() { return server->process.url(); }

    /// Reads what the server starts with, writes something else and reads that.
    template <typename Value>
    void roundTrip(const std::string& name, _OpcUaDataType type, Value initial, Value other) {
        const std::string id = "ns=2;s=Scalar." + name;
        EXPECT_EQ(read<Value>(id, type), initial) << name;
        EXPECT_EQ(write(id, type, other), 0) << name;
        EXPECT_EQ(read<Value>(id, type), other) << name;
    }

private:
    struct Server {
        test_support::TemporaryDirectory directory;
        test_support::ServerProcess process{INTEROP_SERVER, {directory.path().string()}};
    };
    static inline std::unique_ptr<Server> server;
};
