// Connects that succeed and connects that fail, hundreds of them: nothing of them stays, here or on the
// server.
#include <cstdio>
#include <filesystem>
#include <malloc.h>
#include <string>

#include <gmock/gmock.h>

#include "secured_client_fixture.h"
#include "support/process_holdings.h"
#include "support/temporary_directory.h"

// The address sanitizer has its own memory management, which mallinfo2() does not see.
#ifdef __SANITIZE_ADDRESS__
extern "C" std::size_t __sanitizer_get_current_allocated_bytes(); // g++ brings no header for it
#endif

namespace {

constexpr int rounds = 100;
constexpr int warmUpRounds = 5;

/// Bytes of the heap that are in use.
std::size_t memoryInUse() {
#ifdef __SANITIZE_ADDRESS__
    return __sanitizer_get_current_allocated_bytes();
#else
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

class ManyConnects : public SecuredClientTest {
protected:
    // One heap for all threads: mallinfo2() looks at the first alone.
    ManyConnects() { mallopt(M_ARENA_MAX, 1); }

    int connectTo(const std::string& url, const SecurityChoice& choice) {
        _OpcUaClientConfig config = securedConfig(url, choice);
        return client.OpcUaConnect(config);
    }
    static void forgetServers() {
        for (const std::string& name : namesIn(trustList()))
            std::filesystem::remove(trustList() / name);
    }
};

TEST_F(ManyConnects, LeaveNothingBehind) {
    const test_support::TemporaryDirectory nobody;
    test_support::PlantServer distrustful({"--trusted-clients", nobody.path().string()});
    startServer({"--security"});
    Operator rejecting(Operator::reject);
    COpcUaClientInterface cautious;
    ASSERT_EQ(cautious.installOpcUaCallBack(&rejecting), 0);
    const SecurityChoice secured;
    const SecurityChoice wrongPassword{3, 2, SecurityChoice::byPassword, "wrong"};
    const SecurityChoice notOffered{1, 2, SecurityChoice::anonymous};
    const auto round = [&] {
        EXPECT_EQ(connectTo(server().url(), secured), 0);
        EXPECT_EQ(client.OpcUaGetConnectStatus(), connected);
        EXPECT_EQ(connectTo(server().url(), wrongPassword), 1);
        EXPECT_EQ(connectTo(server().url(), notOffered), 1);
        EXPECT_EQ(connectTo(distrustful.url(), secured), 1);
        forgetServers();
        EXPECT_EQ(secureConnect(cautious, secured), 23);
    };
    const int threads = test_support::threadCount();
    // What is made once and kept, and what a first use leaves in caches, is no growth.
    for (int i = 0; i < warmUpRounds; ++i)
        round();
    const int descriptors = test_support::openDescriptors();
    const std::size_t before = memoryInUse();
    for (int i = 0; i < rounds && !HasFailure(); ++i)
        round();
    const std::size_t after = memoryInUse();
    std::printf("%d connects: heap %zu bytes before, %zu after\n", 5 * rounds, before, after);
    EXPECT_EQ(rejecting.asked, rounds + warmUpRounds);
    EXPECT_EQ(test_support::openDescriptors(), descriptors);
    EXPECT_TRUE(test_support::waitForThreadCount(threads)) << test_support::threadCount();
    // Less than the smallest allocation for each time that one kind of connect was made.
    EXPECT_LT(after, before + 16 * rounds);

    for (const std::string& url : {server().url(), distrustful.url()}) {
        ASSERT_EQ(connect(url), 0);
        EXPECT_TRUE(waitUntil([this] { return diagnostics("CurrentSessions") == 1; }));
        EXPECT_TRUE(waitUntil([this] { return diagnostics("CurrentChannels") == 1; }));
    }
}

} // namespace
