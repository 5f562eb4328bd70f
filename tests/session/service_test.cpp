#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "session_fixture.h"
#include "uabase/variant.h"
#include "uaclient/discovery.h"

using namespace UaClientSdk;
using test_support::MessageProxy;

namespace {

using ServiceTest = SessionTest;

TEST_F(ServiceTest, ReadsAValue) {
    ASSERT_TRUE(connect().isGood());
    UaDataValues values;
    ASSERT_TRUE(readValue("i=2259", values).isGood());
    ASSERT_EQ(values.length(), 1U);
    OpcUa_Int32 state = -1;
    EXPECT_EQ(UaVariant(values[0].value).toInt32(state), OpcUa_Good);
    EXPECT_EQ(state, 0);
}

TEST_F(ServiceTest, BeforeConnectEveryCallAnswersNotConnected) {
    EXPECT_EQ(readServerState().statusCode(), OpcUa_BadServerNotConnected);
    EXPECT_EQ(disconnect().statusCode(), OpcUa_BadServerNotConnected);
    EXPECT_FALSE(session->isConnected());
}

TEST_F(ServiceTest, BrowsesTheRootFolder) {
    ASSERT_TRUE(connect().isGood());
    ServiceSettings settings;
    BrowseContext context;
    context.referenceTypeId = UaNodeId(OpcUaId_HierarchicalReferences);
    UaByteString continuationPoint;
    UaReferenceDescriptions references;
    ASSERT_TRUE(
        session->browse(settings, UaNodeId(OpcUaId_RootFolder), context, continuationPoint, references)
            .isGood());
    EXPECT_EQ(references.length(), 3U); // Objects, Types, Views
    EXPECT_EQ(continuationPoint.length(), 0);
}

TEST_F(ServiceTest, PagesWithContinuationPointsAndReleasesThem) {
    ASSERT_TRUE(connect().isGood());
    ServiceSettings settings;
    BrowseContext context;
    context.referenceTypeId = UaNodeId(OpcUaId_HierarchicalReferences);
    context.maxReferencesToReturn = 2;
    UaByteString continuationPoint;
    UaReferenceDescriptions references;
    ASSERT_TRUE(
        session->browse(settings, UaNodeId(OpcUaId_RootFolder), context, continuationPoint, references)
            .isGood());
    EXPECT_EQ(references.length(), 2U);
    ASSERT_GT(continuationPoint.length(), 0);
    UaByteString released = continuationPoint;
    ASSERT_TRUE(session->browseNext(settings, false, continuationPoint, references).isGood());
    EXPECT_EQ(references.length(), 1U);
    EXPECT_EQ(continuationPoint.length(), 0);
    EXPECT_TRUE(session->browseNext(settings, false, released, references).isBad()); // used up

    ASSERT_TRUE(
        session->browse(settings, UaNodeId(OpcUaId_RootFolder), context, continuationPoint, references)
            .isGood());
    ASSERT_TRUE(session->browseNext(settings, true, continuationPoint, references).isGood());
    EXPECT_EQ(references.length(), 0U) << "what is given back brings no page";
}

TEST_F(ServiceTest, BrowseOfAnUnknownNodeIsBad) {
    ASSERT_TRUE(connect().isGood());
    ServiceSettings settings;
    UaByteString continuationPoint;
    UaReferenceDescriptions references;
    EXPECT_TRUE(session
                    ->browse(settings, UaNodeId::fromXmlString("ns=1;s=No.Such.Node"), BrowseContext(),
                             continuationPoint, references)
                    .isBad());
    EXPECT_EQ(references.length(), 0U);
}

TEST_F(ServiceTest, ManyThreadsCallAtOnce) {
    ASSERT_TRUE(connect().isGood());
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, &good] {
            for (int i = 0; i < 250; ++i)
                good += readServerState().isGood() ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good, 1000);
}

TEST_F(ServiceTest, DiscoveryFindsTheServerAndItsEndpoints) {
    ServiceSettings settings;
    ClientSecurityInfo security;
    UaDiscovery discovery;
    UaApplicationDescriptions servers;
    ASSERT_TRUE(discovery.findServers(settings, UaString(server().url()), security, servers).isGood());
    EXPECT_GE(servers.length(), 1U);
    UaEndpointDescriptions endpoints;
    ASSERT_TRUE(discovery.getEndpoints(settings, UaString(server().url()), security, endpoints).isGood());
    EXPECT_GE(endpoints.length(), 1U);
}

TEST_F(ServiceTest, DiscoveryStaysOnOneConnection) {
    const MessageProxy proxy(server().port());
    ServiceSettings settings;
    ClientSecurityInfo security;
    UaDiscovery discovery;
    UaEndpointDescriptions endpoints;
    ASSERT_TRUE(discovery.getEndpoints(settings, UaString(proxy.url()), security, endpoints).isGood());
    EXPECT_EQ(proxy.connections(), 1);
}

TEST_F(ServiceTest, DiscoveryOfASilentServerKeepsItsTimeout) {
    MessageProxy proxy(server().port());
    ServiceSettings settings;
    settings.callTimeout = 300;
    ClientSecurityInfo security;
    UaDiscovery discovery;
    for (int steps = 0; steps < 20; ++steps) {
        proxy.limitServerMessages(steps, MessageProxy::Afterwards::Stall);
        UaEndpointDescriptions endpoints;
        const UaStatus status = discovery.getEndpoints(settings, UaString(proxy.url()), security, endpoints);
        if (status.isGood()) {
            EXPECT_GE(steps, 3);
            return;
        }
        EXPECT_EQ(status.statusCode(), OpcUa_BadTimeout) << "after message " << steps;
        EXPECT_EQ(endpoints.length(), 0U);
    }
    FAIL() << "never answered";
}

} // namespace
