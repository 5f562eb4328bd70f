// A connection that ends by the client's own will while requests are on their way.
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "overlap/overlap_fixture.h"

using namespace scripted;

namespace {

/// The requests that are held at first are answered; then something else happens, and what follows is not.
class Disconnected : public OverlapTest {
protected:
    static constexpr int answered = 2;

    HeldRequests::Answer answerThen(std::function<void()> then) {
        return [this, then = std::move(then)](HeldRequests::Calls& calls) {
            if (m_first) {
                m_first = false;
                EXPECT_EQ(calls.size(), static_cast<std::size_t>(answered));
                answerAll(calls);
            } else {
                then();
            }
        };
    }

private:
    bool m_first = true; ///< the held requests' thread's
};

class EachOperationDisconnected : public Disconnected, public testing::WithParamInterface<Operation> {};

INSTANTIATE_TEST_SUITE_P(Of, EachOperationDisconnected, testing::ValuesIn(operations()),
                         [](const auto& one) { return one.param.name; });

TEST_P(EachOperationDisconnected, ByAnotherThreadFailsWhatWasNotAnswered) {
    server.publisher().firstValues(false); // a delivery would wait for the adding, and the disconnect for it
    prepare(GetParam());
    std::vector<int> codes;
    {
        const HeldRequests held(server, *GetParam().request,
                                answerThen([&] { codes.push_back(client.OpcUaDisConnect()); }));
        EXPECT_EQ(run(GetParam()), expected(GetParam(), from(answered)));
    }
    ASSERT_FALSE(codes.empty());
    EXPECT_EQ(codes.front(), 0);
    EXPECT_EQ(status(), 0);
    EXPECT_EQ(server.connections(), 1);
    EXPECT_EQ(server.count<UA_CloseSessionRequest>(), 1);
}

/// Adding items keeps callbacks waiting, so there is none that could disconnect meanwhile.
class CallbackDisconnects : public Disconnected, public testing::WithParamInterface<Operation> {
protected:
    void monitorWith(COpcUaClientInterface& monitoring) {
        ASSERT_EQ(monitoring.installOpcUaCallBack(&application), 0);
        _OpcUaClientConfig config{};
        setField(config.endpointUrl, server.url());
        config.timeout = 10000;
        ASSERT_EQ(monitoring.OpcUaConnect(config), 0);
        ASSERT_EQ(monitoring.OpcUaCreateSubScription(50), 0);
        OpcUaNode node{};
        setField(node.nodeId, "ns=1;s=Item0");
        ASSERT_EQ(monitoring.OpcUaAddMonitNode(&node, nullptr, 0), 0);
        ASSERT_TRUE(waitForChanges(1));
    }
};

INSTANTIATE_TEST_SUITE_P(In, CallbackDisconnects, testing::Values(operations()[0], operations()[1]),
                         [](const auto& one) { return one.param.name; });

TEST_P(CallbackDisconnects, WhichFailsWhatWasNotAnswered) {
    monitorWith(client);
    std::atomic<int> code{-1};
    application.onEachChange([&](const _OpcUaDataChangeMsg&) { code = client.OpcUaDisConnect(); });
    const HeldRequests held(server, *GetParam().request, answerThen([&] { server.publisher().publish(7); }));
    EXPECT_EQ(run(GetParam()), expected(GetParam(), from(answered)));
    EXPECT_TRUE(waitUntil([&] { return code == 0; }));
    application.onEachChange(nullptr);
}

/// As soon as the operation has failed: the callback may still be disconnecting.
TEST_P(CallbackDisconnects, WhileTheClientIsDestroyed) {
    auto doomed = std::make_unique<COpcUaClientInterface>();
    monitorWith(*doomed);
    std::atomic<int> calls{0};
    application.onEachChange([&, inCallback = doomed.get()](const _OpcUaDataChangeMsg&) {
        ++calls;
        inCallback->OpcUaDisConnect();
    });
    const HeldRequests held(server, *GetParam().request, answerThen([&] { server.publisher().publish(7); }));
    EXPECT_EQ(run(GetParam(), *doomed), expected(GetParam(), from(answered)));
    doomed.reset();
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(server.waitForOpenConnections(0));
    application.onEachChange(nullptr);
}

} // namespace
