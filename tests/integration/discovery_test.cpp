#include <cstring>
#include <memory>
#include <string>

#include "client_fixture.h"
#include "support/message_proxy.h"

using test_support::MessageProxy;

namespace {

class Discovery : public ClientTest {
protected:
    int discover(std::string url) { return client.OpcUaDiscover(url.data(), *record); }

    std::unique_ptr<_OpcUa_ServerConfigMsg> record = std::make_unique<_OpcUa_ServerConfigMsg>();
};

TEST_F(Discovery, FindsTheServerAndItsUnsecuredEndpoint) {
    ASSERT_EQ(discover(server().url()), 0);
    ASSERT_EQ(record->serverCount, 1U);
    const _OpcUa_ServerMsg& found = record->servers[0];
    EXPECT_EQ(fieldText(found.applicationUri), "urn:kestrova:plant-server");
    EXPECT_FALSE(fieldText(found.applicationName).empty());
    ASSERT_GE(found.discoveryUrlCount, 1U);
    const _OpcUa_DiscoveryUrlMsg& url = found.discoveryUrls[0];
    EXPECT_EQ(fieldText(url.discoveryUrl), server().url());
    ASSERT_GE(url.endpointCount, 1U);
    EXPECT_EQ(fieldText(url.endpoints[0].endpointUrl), server().url());
}

TEST_F(Discovery, NeedsNoConnectionAndDisturbsNone) {
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(discover(server().url()), 0);
    EXPECT_EQ(client.OpcUaGetConnectStatus(), connected);
    EXPECT_EQ(diagnostics("CurrentSessions"), 1UL);
}

TEST_F(Discovery, AnUnreachableServerGivesEighteenAndTouchesNothing) {
    std::memset(static_cast<void*>(record.get()), 0x5a, sizeof *record);
    const auto before = std::make_unique<_OpcUa_ServerConfigMsg>(*record);
    EXPECT_EQ(discover("opc.tcp://no-such-host.invalid:4840"), 18);
    EXPECT_EQ(std::memcmp(record.get(), before.get(), sizeof *record), 0);
    EXPECT_EQ(errorText(), "");
}

TEST_F(Discovery, AServerWhoseUrlsDoNotAnswerGivesNineteen) {
    MessageProxy proxy(server().port());
    // The server list comes in answer to the second query of the first connection; then the server hangs up.
    int answered = 0;
    for (int messages = 1; messages < 20; ++messages) {
        proxy.limitServerMessages(messages, MessageProxy::Afterwards::Close);
        answered = discover(proxy.url());
        if (answered != 18)
            break;
    }
    EXPECT_EQ(answered, 19);
    EXPECT_EQ(record->serverCount, 1U);
    EXPECT_LT(proxy.connections(), 40) << "a server that hangs up is not asked again and again";
}

} // namespace
