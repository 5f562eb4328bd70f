#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "interop_fixture.h"
#include "security_matrix.h"

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

TEST_F(InteropTest, EveryPolicyModeAndIdentityConnectsReadsAndWrites) {
    ASSERT_EQ(connect(url()), 0);
    const unsigned exactBefore = counted("Passwords.Exact");
    int written = 0;
    walkSecurityMatrix(
        "node-opcua", [](const SecurityCell&) { return std::string(); },
        [&](const SecurityCell& cell) {
            _OpcUaClientConfig config = configFor(url());
            config.timeout = 60000;
            config.securityPolicy = cell.policy;
            config.securityMode = cell.mode;
            config.userIdentity = cell.identity;
            setField(config.userName, "operator");
            setField(config.password, "plant");
            const int code = client.OpcUaConnect(config);
            if (code == 0) {
                const std::string node = "ns=2;s=Scratch";
                EXPECT_EQ(write<int>(node, OpcUaDataType_Int32, ++written), 0);
                EXPECT_EQ(read<int>(node, OpcUaDataType_Int32), written);
                EXPECT_EQ(client.OpcUaDisConnect(), 0);
            }
            return code;
        });
    // None, and five policies in two modes each. A strict server takes no padding behind what is encrypted.
    ASSERT_EQ(connect(url()), 0);
    EXPECT_EQ(counted("Passwords.Exact"), exactBefore + 11);
    EXPECT_EQ(counted("Passwords.Padded"), 0U);
    EXPECT_EQ(counted("Passwords.Clear"), 0U);
}

} // namespace
