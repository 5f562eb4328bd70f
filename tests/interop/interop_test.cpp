#include "interop_fixture.h"

#include <cstdio>
#include <iterator>

namespace {

TEST_F(InteropTest, TheServerAndAllItsEndpointsAreDiscovered) {
    auto record = std::make_unique<_OpcUa_ServerConfigMsg>();
    std::string asked = url();
    ASSERT_EQ(client.OpcUaDiscover(asked.data(), *record), 0);
    ASSERT_EQ(record->serverCount, 1U);
    const _OpcUa_ServerMsg& found = record->servers[0];
    EXPECT_EQ(fieldText(found.applicationUri), "urn:kestrova:interop-server");
    ASSERT_EQ(found.discoveryUrlCount, 1U);
    // None, and five policies in two modes each.
    EXPECT_EQ(found.discoveryUrls[0].endpointCount, 11U);
}

TEST_F(InteropTest, TheTreeIsBrowsedWithTypesAndShapes) {
    ASSERT_EQ(connect(url()), 0);
    for (const auto& [folder, dimensions] :
         {std::pair("Scalar", 0), std::pair("Array", 1), std::pair("Matrix", 2)}) {
        const std::vector<OpcUaNode*> children = childrenOf(browseTo({"Objects", "Interop", folder}));
        ASSERT_EQ(children.size(), 12U) << folder;
        for (std::size_t index = 0; index < children.size(); ++index) {
            EXPECT_EQ(children[index]->dataType, static_cast<int>(index) + 1) << folder;
            EXPECT_EQ(children[index]->arrayInfo.dimCount, dimensions) << folder;
        }
    }
}

const char* const policies[]{"None",           "Basic128Rsa15",         "Basic256",
                             "Basic256Sha256", "Aes128_Sha256_RsaOaep", "Aes256_Sha256_RsaPss"};
const char* const modes[]{"None", "Sign", "SignAndEncrypt"};
const char* const identities[]{"Anonymous", "UserName", "Certificate"};

/// Security and identity as the records number them.
struct Cell {
    int policy;
    int mode;
    int identity;
};

/// A policy other than None comes with a mode other than None, and the other way round.
bool isOffered(const Cell& cell) {
    return (cell.policy == 0) == (cell.mode == 0);
}

TEST_F(InteropTest, EveryPolicyModeAndIdentityConnectsReadsAndWrites) {
    const std::string node = "ns=2;s=Scratch";
    int written = 0;
    for (int policy = 0; policy < static_cast<int>(std::size(policies)); ++policy)
        for (int mode = 0; mode < static_cast<int>(std::size(modes)); ++mode)
            for (int identity = 0; identity < static_cast<int>(std::size(identities)); ++identity) {
                const Cell cell{policy, mode, identity};
                _OpcUaClientConfig config = configFor(url());
                config.timeout = 60000;
                config.securityPolicy = policy;
                config.securityMode = mode;
                config.userIdentity = identity;
                setField(config.userName, "operator");
                setField(config.password, "plant");
                const int result = client.OpcUaConnect(config);
                std::printf("%-22s %-15s %-12s %s\n", policies[policy], modes[mode], identities[identity],
                            !isOffered(cell) ? "not offered: None goes with None alone"
                            : result == 0    ? "connected"
                                             : "FAILED");
                SCOPED_TRACE(std::string(policies[policy]) + " " + modes[mode] + " " + identities[identity]);
                EXPECT_EQ(result, isOffered(cell) ? 0 : 1) << errorText();
                if (result == 0) {
                    EXPECT_EQ(write<int>(node, OpcUaDataType_Int32, ++written), 0);
                    EXPECT_EQ(read<int>(node, OpcUaDataType_Int32), written);
                    EXPECT_EQ(client.OpcUaDisConnect(), 0);
                }
            }
}

} // namespace
