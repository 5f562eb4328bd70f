// The system has so many threads left and no more: no operation throws, each answers one of its codes,
// nothing is left behind, and once there are threads again everything works.
//
// A limit of the kernel's would not bind root. So this program has a pthread_create of its own.
#include <atomic>
#include <cerrno>
#include <functional>
#include <memory>
#include <pthread.h>
#include <string>

#include <gmock/gmock.h>

#include "secured_client_fixture.h"
#include "support/next_definition.h"
#include "support/process_holdings.h"

using test_support::openDescriptors;
using test_support::threadCount;
using test_support::waitForThreadCount;
using testing::AnyOf;

namespace {

constexpr int anyNumber = -1;
std::atomic<int> threadsLeft{anyNumber};

/// Whether there is still one; takes it.
bool takeThread() {
    int left = threadsLeft;
    while (left > 0 && !threadsLeft.compare_exchange_weak(left, left - 1)) {
    }
    return left != 0;
}

} // namespace

extern "C" __attribute__((visibility("default"))) int
pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument) {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto next = nextDefinition<Create>("pthread_create");
    return takeThread() ? next(thread, attributes, start, argument) : EAGAIN;
}

namespace {

class ThreadExhaustion : public SecuredClientTest, public testing::WithParamInterface<int> {
protected:
    static constexpr int rounds = 3;

    ThreadExhaustion() {
        startServer({"--security"});
        EXPECT_EQ(client.installOpcUaCallBack(&application), 0);
    }
    ~ThreadExhaustion() override { client.OpcUaDisConnect(); }

    /// Calls an operation while there are only as many threads as the case says.
    static int withFewThreads(const std::function<int()>& operation) {
        int code = -1;
        threadsLeft = GetParam();
        EXPECT_NO_THROW(code = operation());
        threadsLeft = anyNumber;
        return code;
    }

    /// The server under a name that has to be resolved.
    std::string urlWithName() { return "opc.tcp://localhost:" + std::to_string(server().port()); }

    int connectSecured() {
        _OpcUaClientConfig config = securedConfig(server().url(), {});
        config.timeout = 20000;
        return client.OpcUaConnect(config);
    }
    int discover(std::string url) {
        return client.OpcUaDiscover(url.data(), *std::make_unique<_OpcUa_ServerConfigMsg>());
    }

    /// Connects with few threads, again and again; what does connect must work.
    void tryToConnect(const std::function<int()>& connecting, const testing::Matcher<int>& codes) {
        ASSERT_EQ(connecting(), 0);
        ASSERT_EQ(client.OpcUaDisConnect(), 0);
        const int descriptors = openDescriptors();
        for (int round = 0; round < rounds; ++round) {
            const int code = withFewThreads(connecting);
            EXPECT_THAT(code, codes);
            EXPECT_EQ(client.OpcUaGetConnectStatus(), code == 0 ? connected : 0);
            if (code == 0)
                EXPECT_EQ(diagnostics("CurrentSessions"), 1UL);
            EXPECT_EQ(client.OpcUaDisConnect(), code == 0 ? 0 : 3);
        }
        EXPECT_TRUE(holdsNoMoreThan(descriptors));
        ASSERT_EQ(connecting(), 0);
        EXPECT_TRUE(waitUntil([&] { return diagnostics("CurrentSessions") == 1; }))
            << "the server keeps sessions that failed here";
    }

    void tryToDiscover(const std::string& url) {
        ASSERT_EQ(discover(url), 0);
        const int descriptors = openDescriptors();
        for (int round = 0; round < rounds; ++round)
            EXPECT_THAT(withFewThreads([&] { return discover(url); }), AnyOf(0, 18, 19));
        EXPECT_TRUE(holdsNoMoreThan(descriptors));
        EXPECT_EQ(discover(url), 0);
    }

    /// And than the threads that there were before any connect.
    bool holdsNoMoreThan(int descriptors) {
        return waitUntil([&] { return openDescriptors() == descriptors; }) && waitForThreadCount(m_threads);
    }

    /// Trusts any certificate.
    class Application final : public COpcUaClientInterface::OpcUaCallBack {
    public:
        void OpcUaDataChange(_OpcUaDataChangeMsg) override { ++changes; }
        int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return 0; }

        std::atomic<int> changes{0};
    };

    Application application;

private:
    const int m_threads = threadCount();
};

TEST_P(ThreadExhaustion, OfAConnect) {
    tryToConnect([this] { return connect(); }, AnyOf(0, 1));
}

TEST_P(ThreadExhaustion, OfAConnectByName) {
    tryToConnect([this] { return connect(urlWithName()); }, AnyOf(0, 1));
}

TEST_P(ThreadExhaustion, OfASecuredConnect) {
    tryToConnect([this] { return connectSecured(); }, AnyOf(0, 1, 19));
}

TEST_P(ThreadExhaustion, OfASubscription) {
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(client.OpcUaDisConnect(), 0);
    const int descriptors = openDescriptors();
    ASSERT_EQ(connect(), 0);
    for (int round = 0; round < rounds; ++round) {
        const int code = withFewThreads([this] { return client.OpcUaCreateSubScription(50); });
        EXPECT_THAT(code, AnyOf(0, 9));
        EXPECT_EQ(client.OpcUaGetConnectStatus(), connected);
        EXPECT_EQ(client.OpcUaDeleteSubScription(), code == 0 ? 0 : 11);
    }
    ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    OpcUaNode record{};
    setField(record.nodeId, "ns=3;s=TestRack.Scalar.Int32");
    ASSERT_EQ(client.OpcUaAddMonitNode(&record, nullptr, 0), 0);
    EXPECT_TRUE(waitUntil([this] { return application.changes > 0; }));
    ASSERT_EQ(client.OpcUaDisConnect(), 0);
    EXPECT_TRUE(holdsNoMoreThan(descriptors));
}

TEST_P(ThreadExhaustion, OfADiscovery) {
    tryToDiscover(server().url());
}

TEST_P(ThreadExhaustion, OfADiscoveryByName) {
    tryToDiscover(urlWithName());
}

INSTANTIATE_TEST_SUITE_P(Left, ThreadExhaustion, testing::Values(0, 1, 2));

} // namespace
