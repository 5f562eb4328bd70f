#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "addressing/node_info.h"
#include "addressing/search_rank.h"

using namespace opcua_cli;

namespace {

NodeInfo candidate(const std::string& nodeId, int nodeClass = 1) {
    NodeInfo node;
    node.nodeId = nodeId;
    node.nodeClass = nodeClass;
    return node;
}

constexpr int variable = 2;
constexpr int objectType = 8;

} // namespace

TEST(NodeInfo, ReadsFullFieldsWithinTheirBounds) {
    OpcUaNode record{};
    std::memset(record.displayName, 'd', sizeof record.displayName);
    std::memset(record.nodeId, 'n', sizeof record.nodeId);
    std::memset(record.browseName, 'b', sizeof record.browseName - 1);
    record.browseName[sizeof record.browseName - 1] = '\xC3';
    const NodeInfo node = describe(record);
    EXPECT_EQ(node.displayName, std::string(256, 'd'));
    EXPECT_EQ(node.browseName, std::string(255, 'b'));
    EXPECT_EQ(node.nodeId, std::string(256, 'n'));
    EXPECT_FALSE(node.nodeIdComplete);
}

TEST(NodeInfo, ReadsShapes) {
    OpcUaNode record{};
    record.nodeClass = variable;
    record.dataType = OpcUaDataType_Double;
    EXPECT_EQ(typeText(describe(record)), "Double");
    record.arrayInfo.kind = 1;
    record.arrayInfo.dimCount = 2;
    record.arrayInfo.dims[0] = 3;
    record.arrayInfo.dims[1] = 4;
    EXPECT_TRUE(describe(record).isArray);
    EXPECT_EQ(typeText(describe(record)), "Double[3][4]");
    record.dataType = OpcUaDataType_Null;
    EXPECT_EQ(typeText(describe(record)), "other[3][4]");
    record.arrayInfo.dimCount = 1000;
    EXPECT_EQ(describe(record).dimensions.size(), 16u);
    record.arrayInfo.dimCount = -1;
    EXPECT_EQ(describe(record).dimensions.size(), 0u);
    record.nodeClass = 1;
    EXPECT_EQ(typeText(describe(record)), "");
}

TEST(SearchRank, FollowsIdsThatBeginAlike) {
    const std::string target = "ns=2;s=Plant.Line1.Speed";
    EXPECT_GT(searchRank(target, candidate("ns=2;s=Plant.Line1")),
              searchRank(target, candidate("ns=2;s=Plant")));
    EXPECT_GT(searchRank(target, candidate("ns=2;s=Plant")), searchRank(target, candidate("ns=2;s=Tank")));
    EXPECT_GT(searchRank(target, candidate("ns=2;s=Tank")), searchRank(target, candidate("ns=2;i=5")));
    EXPECT_GT(searchRank(target, candidate("ns=2;i=5")), searchRank(target, candidate("ns=3;s=Plant.Line1")));
}

TEST(SearchRank, FollowsNearNumbers) {
    EXPECT_GT(searchRank("i=2261", candidate("i=2253")), searchRank("i=2261", candidate("i=23470")));
    EXPECT_GT(searchRank("i=2261", candidate("i=2260", variable)), searchRank("i=2261", candidate("i=2268")));
}

TEST(SearchRank, LooksBelowVariablesLaterUnlessTheyNameTheTarget) {
    const std::string target = "ns=2;s=Line1.Speed.Unit";
    EXPECT_GT(searchRank(target, candidate("ns=3;s=x")),
              searchRank(target, candidate("ns=2;s=Line1.Spin", variable)));
    EXPECT_GT(searchRank(target, candidate("ns=2;s=Line1.Speed", variable)),
              searchRank(target, candidate("ns=2;s=L")));
}

TEST(SearchRank, LooksBelowTypesLast) {
    const std::string target = "ns=2;s=Line1.Speed";
    for (const NodeInfo& last : {candidate("i=86"), candidate("i=87"), candidate("ns=2;s=Line1", objectType)})
        EXPECT_LT(searchRank(target, last), searchRank(target, candidate("ns=9;i=1", variable)))
            << last.nodeId;
}

TEST(SearchRank, TakesBrokenIds) {
    EXPECT_GE(searchRank("i=1", candidate("")), 0);
    EXPECT_GE(searchRank("i=1", candidate("ns=2;")), 0);
    EXPECT_GE(searchRank("i=1", candidate("ns=2")), 0);
}
