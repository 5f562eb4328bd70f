// What goes over the wire is the same whether requests wait for each other or not.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <type_traits>
#include <vector>

#include "overlap/overlap_fixture.h"
#include "support/message_proxy.h"
#include "support/request_recorder.h"

using namespace scripted;

namespace {

/// What two runs can't have in common: the session's token, handles and times.
template <class Request>
void forgetHeader(Request& request) {
    UA_RequestHeader& header = request.requestHeader;
    UA_NodeId_clear(&header.authenticationToken);
    header.timestamp = 0;
    header.requestHandle = 0;
    header.timeoutHint = 0;
}

void forgetOwn(UA_BrowseRequest& request) {
    forgetHeader(request);
}
void forgetOwn(UA_ReadRequest& request) {
    forgetHeader(request);
}
void forgetOwn(UA_CreateMonitoredItemsRequest& request) {
    forgetHeader(request);
    request.subscriptionId = 0;
    for (std::size_t i = 0; i < request.itemsToCreateSize; ++i)
        request.itemsToCreate[i].requestedParameters.clientHandle = 0;
}

class OnTheWire : public OverlapTest, public testing::WithParamInterface<Operation> {
protected:
    OnTheWire() {
        m_proxy.watchClients([this](const char* bytes, std::size_t count) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_recorder.read(bytes, count);
        });
    }
    ~OnTheWire() override { m_proxy.watchClients(nullptr); }

    void prepareByProxy() {
        ASSERT_EQ(client.installOpcUaCallBack(&application), 0);
        _OpcUaClientConfig config{};
        setField(config.endpointUrl, m_proxy.url());
        config.timeout = 10000;
        ASSERT_EQ(client.OpcUaConnect(config), 0);
        if (GetParam().kind == Kind::Add)
            ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    }
    /// The operation's requests without what is each run's own, in the order in which they went out.
    std::vector<Bytes> requestsOfARun(std::size_t ahead) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_recorder.forget();
        }
        const HeldRequests held(
            server, *GetParam().request,
            [](HeldRequests::Calls& calls) { std::for_each(calls.begin(), calls.end(), answerWell); }, ahead);
        EXPECT_EQ(run(GetParam()), expected(GetParam(), {}));
        EXPECT_EQ(std::min<std::size_t>(held.most(), 2), ahead);
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<Bytes> sent;
        for (const Bytes& body : m_recorder.requests()) {
            keepIf<UA_BrowseRequest>(body, sent);
            keepIf<UA_ReadRequest>(body, sent);
            keepIf<UA_CreateMonitoredItemsRequest>(body, sent);
        }
        return sent;
    }
    void breakTheConnection() {
        const HeldRequests held(server, *GetParam().request,
                                [](HeldRequests::Calls& calls) { calls.front().connection().close(); });
        run(GetParam());
        EXPECT_TRUE(waitForStatus(lost));
    }

private:
    template <class Request>
    static void keepIf(const Bytes& body, std::vector<Bytes>& sent) {
        Reader reader(body);
        if (typeWithEncoding(takeTypeId(reader)) != &typeOf<Request>())
            return;
        const Bytes content = reader.rest();
        Owned<Request> request;
        ASSERT_TRUE(decode(content, &*request, typeOf<Request>()));
        ASSERT_EQ(encode(*request), content); // nothing is lost by decoding
        if constexpr (std::is_same_v<Request, UA_ReadRequest>) {
            if (isProbe(*request))
                return;
        }
        forgetOwn(*request);
        sent.push_back(messageBody(*request));
    }

    std::mutex m_mutex;
    test_support::RequestRecorder m_recorder;
    test_support::MessageProxy m_proxy{
        static_cast<std::uint16_t>(std::stoi(server.url().substr(server.url().rfind(':') + 1)))};
};

INSTANTIATE_TEST_SUITE_P(Of, OnTheWire, testing::ValuesIn(operations()),
                         [](const auto& one) { return one.param.name; });

TEST_P(OnTheWire, RequestsAreThoseOfOneByOneInTheSameOrder) {
    prepareByProxy();
    const std::vector<Bytes> overlapping = requestsOfARun(2);
    breakTheConnection();
    prepareByProxy();
    const std::vector<Bytes> oneByOne = requestsOfARun(1);
    EXPECT_EQ(overlapping, oneByOne);
    const bool browses = GetParam().kind == Kind::Browse;
    EXPECT_EQ(oneByOne.size(), static_cast<std::size_t>(requests) + (browses ? 1U : 0U));
}

} // namespace
