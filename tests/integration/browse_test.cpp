#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "client_fixture.h"

namespace {

constexpr int objectClass = 1;
constexpr int variableClass = 2;
constexpr int methodClass = 4;
constexpr int objectTypeClass = 8;
constexpr int viewClass = 128;

class Browse : public ClientTest {
protected:
    OpcUaNode* testRack(std::vector<std::string> below = {}) {
        below.insert(below.begin(), {"Objects", "TestRack"});
        return browseTo(below);
    }
};

TEST_F(Browse, TheRootHasTheThreeStandardFolders) {
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(client.OpcUaBrowse(nullptr), 0);
    OpcUaNode* root = client.OpcUaReadRootNode();
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(fieldText(root->browseName), "Root");
    EXPECT_EQ(fieldText(root->nodeId), "i=84");
    EXPECT_EQ(fieldText(root->locale), "CH");
    std::vector<std::string> names;
    for (OpcUaNode* child : childrenOf(root)) {
        names.push_back(fieldText(child->displayName));
        EXPECT_EQ(child->parent, root);
        EXPECT_EQ(child->child, nullptr);
        EXPECT_EQ(child->nodeClass, objectClass);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"Objects", "Types", "Views"}));
}

TEST_F(Browse, AnObjectIsKeptWithoutATypeAndLeavesAMessage) {
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(client.OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(client.OpcUaReadRootNode()->child->dataType, OpcUaDataType_Null);
    EXPECT_EQ(errorText(), "读数据类型失败");
}

TEST_F(Browse, TellsTypeAndShapeOfEveryKindOfValue) {
    ASSERT_EQ(connect(), 0);
    const char* names[] = {"Boolean", "SByte", "Byte",   "Int16", "UInt16", "Int32",
                           "UInt32",  "Int64", "UInt64", "Float", "Double", "String"};
    struct Kind {
        const char* folder;
        int kind;
        std::vector<unsigned long> dims;
    };
    const Kind kinds[] = {
        {"Scalar", 0, {}},         {"Array", 1, {10}},
        {"EmptyArray", 1, {0}},    {"Matrix2", 1, {3, 4}},
        {"Matrix3", 1, {2, 3, 4}}, {"Matrix16", 1, {2, 1, 1, 2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 3}}};
    for (const Kind& kind : kinds) {
        OpcUaNode* folder = testRack({kind.folder});
        for (int type = 1; type <= 12; ++type) {
            const OpcUaNode* found = childNamed(folder, names[type - 1]);
            ASSERT_NE(found, nullptr) << kind.folder;
            EXPECT_EQ(found->dataType, type) << kind.folder;
            EXPECT_EQ(found->arrayInfo.kind, kind.kind) << kind.folder;
            ASSERT_EQ(found->arrayInfo.dimCount, static_cast<int>(kind.dims.size())) << kind.folder;
            for (std::size_t i = 0; i < kind.dims.size(); ++i)
                EXPECT_EQ(found->arrayInfo.dims[i], kind.dims[i]) << kind.folder << " " << i;
            EXPECT_EQ(found->nodeClass, variableClass);
        }
    }
}

TEST_F(Browse, SeventeenDimensionsKeepTheFirstSixteen) {
    ASSERT_EQ(connect(), 0);
    const OpcUaNode* found = childNamed(testRack({"Matrix17"}), "Int32");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->arrayInfo.kind, 1);
    EXPECT_EQ(found->arrayInfo.dimCount, 16);
}

TEST_F(Browse, TypesOutsideTheTwelveAreNull) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode* folder = testRack({"Special"});
    for (const char* name : {"DateTime", "ByteString", "LocalizedText", "Guid", "Structure", "Empty"})
        EXPECT_EQ(childNamed(folder, name)->dataType, OpcUaDataType_Null) << name;
    EXPECT_EQ(childNamed(folder, "Enumeration")->dataType, OpcUaDataType_Int32);
}

TEST_F(Browse, ValuesThatAreNotGoodAreNull) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode* folder = testRack({"Status"});
    EXPECT_EQ(childNamed(folder, "Bad")->dataType, OpcUaDataType_Null);
    EXPECT_EQ(childNamed(folder, "Uncertain")->dataType, OpcUaDataType_Null);
    EXPECT_EQ(childNamed(folder, "GoodLocalOverride")->dataType, OpcUaDataType_Int32);
}

class BrowsePages : public Browse, public testing::WithParamInterface<int> {};

TEST_P(BrowsePages, TwelveHundredChildrenComeInOrderWhateverThePageSize) {
    if (GetParam() > 0)
        startServer({"--page-size", std::to_string(GetParam())});
    ASSERT_EQ(connect(), 0);
    OpcUaNode* folder = testRack({"Many"});
    const std::vector<OpcUaNode*> children = childrenOf(folder);
    ASSERT_EQ(children.size(), 1200U);
    for (std::size_t i = 0; i < children.size(); ++i) {
        char id[64];
        std::snprintf(id, sizeof id, "ns=3;s=TestRack.Many.Variable%04zu", i + 1);
        ASSERT_EQ(fieldText(children[i]->nodeId), id);
        EXPECT_EQ(children[i]->dataType, static_cast<int>(i % 12) + 1);
        EXPECT_EQ(children[i]->parent, folder);
    }
}

INSTANTIATE_TEST_SUITE_P(PageSize, BrowsePages, testing::Values(0, 1, 7, 400, 1200, 1201));

TEST_F(Browse, BrowsingAgainReplacesTheChildren) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode* folder = testRack({"Scalar"});
    const std::size_t before = childrenOf(folder).size();
    ASSERT_EQ(client.OpcUaBrowse(folder), 0);
    EXPECT_EQ(childrenOf(folder).size(), before);
}

TEST_F(Browse, NamesLongerThanTheFieldAreCutWithoutATerminator) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode* folder = testRack({"Names"});
    std::set<std::size_t> lengths;
    for (OpcUaNode* child : childrenOf(folder))
        lengths.insert(fieldText(child->displayName).size());
    EXPECT_EQ(lengths.count(255), 1U);
    EXPECT_EQ(lengths.count(256), 1U);
    EXPECT_EQ(*lengths.rbegin(), 256U);
}

TEST_F(Browse, NonAsciiNamesAndLocalesComeAsTheyAre) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode* folder = testRack({"Names"});
    EXPECT_EQ(fieldText(childNamed(folder, "锅炉压力")->browseName), "3:锅炉压力");
    std::set<std::string> locales;
    for (OpcUaNode* child : childrenOf(folder))
        locales.insert(fieldText(child->locale));
    EXPECT_TRUE(locales.count("de-DE"));
    EXPECT_TRUE(locales.count("en"));
    EXPECT_TRUE(locales.count(""));
}

TEST_F(Browse, EveryIdentifierKindRoundTrips) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode* folder = testRack({"Identifiers"});
    int read = 0;
    for (OpcUaNode* child : childrenOf(folder)) {
        char text[300] = {};
        int size = sizeof text;
        ASSERT_EQ(client.OpcUaGetValue(child, text, size), 0) << fieldText(child->nodeId);
        EXPECT_EQ(fieldText(child->nodeId), text);
        ++read;
    }
    EXPECT_EQ(read, 12);
}

TEST_F(Browse, NodeClassesAreToldApart) {
    ASSERT_EQ(connect(), 0);
    EXPECT_EQ(childNamed(testRack({"Methods"}), "Add")->nodeClass, methodClass);
    EXPECT_EQ(childNamed(browseTo({"Views"}), "OperatorView")->nodeClass, viewClass);
    EXPECT_EQ(browseTo({"Types", "ObjectTypes"})->child->nodeClass, objectTypeClass);
}

TEST_F(Browse, ACyclicReferenceIsFollowedOneLevelAtATime) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode* first = testRack({"Loop", "First"});
    OpcUaNode* second = childNamed(first, "Second");
    ASSERT_EQ(client.OpcUaBrowse(second), 0);
    EXPECT_EQ(fieldText(second->child->nodeId), fieldText(first->nodeId));
}

TEST_F(Browse, AFirstBrowseOfOneNodeHangsItsChildrenUnderSelfRoot) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode own{};
    setField(own.nodeId, "ns=3;s=TestRack.Scalar");
    ASSERT_EQ(client.OpcUaBrowse(&own), 0);
    EXPECT_EQ(own.child, nullptr);
    OpcUaNode* root = client.OpcUaReadRootNode();
    EXPECT_EQ(fieldText(root->browseName), "Self_Root");
    EXPECT_EQ(fieldText(root->nodeId), "ns=3;s=TestRack.Scalar");
    EXPECT_EQ(childrenOf(root).size(), 12U);
}

TEST_F(Browse, ARecordThatTheTreeDoesNotHoldGivesSix) {
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(client.OpcUaBrowse(nullptr), 0);
    OpcUaNode own{};
    setField(own.nodeId, "ns=3;s=TestRack.Scalar");
    EXPECT_EQ(client.OpcUaBrowse(&own), 6);
    EXPECT_EQ(errorText(), "浏览服务器出错，没有预存的节点信息");
}

TEST_F(Browse, AnUnknownNodeGivesFour) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode own{};
    setField(own.nodeId, "ns=3;s=No.Such.Node");
    EXPECT_EQ(client.OpcUaBrowse(&own), 4);
    EXPECT_EQ(errorText(), "浏览服务器出错");
}

TEST_F(Browse, WithoutASessionTheTreeIsFreed) {
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(client.OpcUaBrowse(nullptr), 0);
    ASSERT_EQ(client.OpcUaDisConnect(), 0);
    EXPECT_NE(client.OpcUaReadRootNode(), nullptr);
    EXPECT_EQ(client.OpcUaBrowse(nullptr), 3);
    EXPECT_EQ(client.OpcUaReadRootNode(), nullptr);
}

} // namespace
