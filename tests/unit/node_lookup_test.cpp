#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "client_test.h"

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class NodeLookup : public ClientTest {
protected:
    OpcUaNode* lookUp(const std::string& nodeId, int dataType = OpcUaDataType_Int32) {
        return m_client->OpcUaGetUaNode(nodeId.c_str(), static_cast<_OpcUaDataType>(dataType));
    }
};

} // namespace

TEST_F(NodeLookup, MakesARecordOfTextAndTypeAlone) {
    const OpcUaNode* node = lookUp("ns=2;s=Line1.Speed", OpcUaDataType_Double);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(std::string(node->nodeId, 256), "ns=2;s=Line1.Speed" + std::string(238, '\0'));
    EXPECT_EQ(node->dataType, OpcUaDataType_Double);
    EXPECT_EQ(node->nodeClass, 0);
    EXPECT_EQ(node->reservedFlag, 0);
    EXPECT_EQ(node->arrayInfo.kind, 0);
    EXPECT_EQ(node->arrayInfo.dimCount, 0);
    EXPECT_THAT(node->arrayInfo.dims, Each(0U));
    EXPECT_THAT(node->locale, Each('\0'));
    EXPECT_THAT(node->displayName, Each('\0'));
    EXPECT_THAT(node->browseName, Each('\0'));
    EXPECT_EQ(node->parent, nullptr);
    EXPECT_EQ(node->next, nullptr);
    EXPECT_EQ(node->child, nullptr);
}

TEST_F(NodeLookup, NeedsNeitherSessionNorServerNorLock) {
    lookUp("i=84");
    EXPECT_THAT(script().operations(), IsEmpty());
    connect();
    lookUp("i=85");
    EXPECT_THAT(script().operations(), IsEmpty());
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
    EXPECT_EQ(message(), "");
}

TEST_F(NodeLookup, SameTextGivesTheSameRecord) {
    OpcUaNode* head = lookUp("ns=2;s=A");
    OpcUaNode* second = lookUp("ns=2;s=B");
    OpcUaNode* third = lookUp("ns=2;s=C");
    EXPECT_EQ(lookUp("ns=2;s=A"), head);
    EXPECT_EQ(lookUp("ns=2;s=B"), second);
    EXPECT_EQ(lookUp("ns=2;s=C"), third);
    EXPECT_EQ(record_census::live(), 3);
}

TEST_F(NodeLookup, FurtherRecordsHangUnderTheFirstInARow) {
    OpcUaNode* head = lookUp("ns=2;s=A");
    OpcUaNode* second = lookUp("ns=2;s=B");
    EXPECT_EQ(head->child, second);
    OpcUaNode* third = lookUp("ns=2;s=C");
    EXPECT_EQ(head->child, second);
    EXPECT_EQ(second->next, third);
    EXPECT_EQ(third->next, nullptr);
    EXPECT_EQ(head->next, nullptr);
    EXPECT_EQ(second->parent, nullptr);
    EXPECT_EQ(second->child, nullptr);
    EXPECT_EQ(third->parent, nullptr);
}

TEST_F(NodeLookup, KeepsTheTypeOfTheFirstLookup) {
    OpcUaNode* node = lookUp("ns=2;s=A", OpcUaDataType_Int32);
    EXPECT_EQ(lookUp("ns=2;s=A", OpcUaDataType_String), node);
    EXPECT_EQ(node->dataType, OpcUaDataType_Int32);
    node->dataType = OpcUaDataType_String;
    EXPECT_EQ(lookUp("ns=2;s=A", OpcUaDataType_Int32)->dataType, OpcUaDataType_String);
}

TEST_F(NodeLookup, TakesTypesThatHaveNoName) {
    EXPECT_EQ(static_cast<int>(lookUp("ns=2;s=A", 13)->dataType), 13);
    EXPECT_EQ(static_cast<int>(lookUp("ns=2;s=B", -1)->dataType), -1);
}

TEST_F(NodeLookup, BeginningOfAnEarlierTextGivesThatRecord) {
    OpcUaNode* tank = lookUp("ns=2;s=Tank10");
    EXPECT_EQ(lookUp("ns=2;s=Tank1"), tank);
    EXPECT_EQ(lookUp("ns=2;s=Tank"), tank);
    EXPECT_EQ(record_census::live(), 1);
    EXPECT_NE(lookUp("ns=2;s=Tank100"), tank);
}

TEST_F(NodeLookup, BeginningIsLookedForInTheRowToo) {
    lookUp("ns=2;s=A");
    OpcUaNode* tank = lookUp("ns=2;s=Tank10");
    EXPECT_EQ(lookUp("ns=2;s=Tank1"), tank);
}

TEST_F(NodeLookup, OfSeveralMatchesTheOldestIsGiven) {
    lookUp("ns=2;s=A");
    OpcUaNode* older = lookUp("ns=2;s=Tank20");
    lookUp("ns=2;s=Tank10");
    EXPECT_EQ(lookUp("ns=2;s=Tank"), older);
}

TEST_F(NodeLookup, ExactMatchComesAfterAnOlderLongerText) {
    lookUp("ns=2;s=A");
    OpcUaNode* exact = lookUp("ns=2;s=Tank1");
    OpcUaNode* longer = lookUp("ns=2;s=Tank10");
    EXPECT_EQ(lookUp("ns=2;s=Tank1"), exact);
    EXPECT_EQ(lookUp("ns=2;s=Tank10"), longer);
}

TEST_F(NodeLookup, EmptyTextGivesTheFirstRecord) {
    OpcUaNode* head = lookUp("ns=2;s=A");
    lookUp("ns=2;s=B");
    EXPECT_EQ(lookUp(""), head);
}

TEST_F(NodeLookup, EmptyTextFirstMakesARecordThatOthersDoNotMatch) {
    OpcUaNode* empty = lookUp("");
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(fieldText(empty->nodeId), "");
    OpcUaNode* other = lookUp("ns=2;s=A");
    EXPECT_NE(other, empty);
    EXPECT_EQ(lookUp(""), empty);
}

TEST_F(NodeLookup, InvalidTextStillGivesARecord) {
    OpcUaNode* node = lookUp("no node id");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(fieldText(node->nodeId), "no node id");
    EXPECT_EQ(message(), "");
}

TEST_F(NodeLookup, NullTextLeavesAMessageAndNoRecord) {
    EXPECT_EQ(m_client->OpcUaGetUaNode(nullptr, OpcUaDataType_Int32), nullptr);
    EXPECT_EQ(message(), messages::invalidArgument);
    EXPECT_EQ(record_census::live(), 0);
}

TEST_F(NodeLookup, NullTextKeepsEarlierRecords) {
    OpcUaNode* node = lookUp("ns=2;s=A");
    EXPECT_EQ(m_client->OpcUaGetUaNode(nullptr, OpcUaDataType_Int32), nullptr);
    EXPECT_EQ(lookUp("ns=2;s=A"), node);
}

TEST_F(NodeLookup, TextsUpToTheWholeFieldAreStored) {
    const std::string text255 = "ns=2;s=" + std::string(248, 'a');
    const std::string text256 = "ns=2;s=" + std::string(249, 'b');
    OpcUaNode* shorter = lookUp(text255);
    EXPECT_EQ(std::string(shorter->nodeId, 256), text255 + '\0');
    OpcUaNode* full = lookUp(text256);
    EXPECT_EQ(std::string(full->nodeId, 256), text256);
    EXPECT_EQ(full->result, shorter->result) << "nothing was written behind the field";
    EXPECT_EQ(lookUp(text255), shorter);
    EXPECT_EQ(lookUp(text256), full);
}

TEST_F(NodeLookup, LongerTextNamesNoNodeAndIsRefused) {
    const std::string text256 = "ns=2;s=" + std::string(249, 'b');
    OpcUaNode* full = lookUp(text256);
    for (const std::size_t more : {1U, 44U, 5000U}) {
        EXPECT_EQ(lookUp(text256 + std::string(more, 'b')), nullptr) << "it must not pass for " << full;
        EXPECT_EQ(message(), messages::invalidArgument);
    }
    EXPECT_EQ(record_census::live(), 1);
}

TEST_F(NodeLookup, BytesAreNotInterpreted) {
    OpcUaNode* node = lookUp("ns=2;s=\xE9\x94\x85");
    EXPECT_EQ(fieldText(node->nodeId), "ns=2;s=\xE9\x94\x85");
    EXPECT_NE(lookUp("NS=2;s=\xE9\x94\x85"), node);
}

TEST_F(NodeLookup, RecordsStayWhereTheyAreAsTheListGrows) {
    OpcUaNode* head = lookUp("ns=2;i=0;");
    std::vector<OpcUaNode*> nodes;
    for (int i = 1; i < 3000; ++i)
        nodes.push_back(lookUp("ns=2;i=" + std::to_string(i) + ";"));
    EXPECT_EQ(lookUp("ns=2;i=0;"), head);
    const OpcUaNode* walked = head->child;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        ASSERT_EQ(walked, nodes[i]);
        ASSERT_EQ(lookUp("ns=2;i=" + std::to_string(i + 1) + ";"), nodes[i]);
        walked = walked->next;
    }
    EXPECT_EQ(walked, nullptr);
}

TEST_F(NodeLookup, SurvivesConnectAndDisconnect) {
    OpcUaNode* node = lookUp("ns=2;s=A");
    connect();
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
    EXPECT_EQ(lookUp("ns=2;s=A"), node);
}

TEST_F(NodeLookup, IsApartFromTheBrowseTree) {
    connect();
    script().onBrowse = answerReferences({{"ns=2;s=A", "A"}});
    ASSERT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    OpcUaNode* browsed = m_client->OpcUaReadRootNode()->child;
    OpcUaNode* node = lookUp("ns=2;s=A");
    EXPECT_NE(node, browsed);
    ASSERT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(lookUp("ns=2;s=A"), node);
}

namespace {

/// Lookups while the application has browsed a looked-up record.
class LookupBelowRecords : public NodeLookup {
protected:
    LookupBelowRecords() {
        connect();
        script().onBrowse = answerReferences({{"ns=2;s=A", "A"}, {"ns=2;s=B", "B"}});
        EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    }

    void browse(OpcUaNode* node, std::vector<Reference> references) {
        script().onBrowse = answerReferences(std::move(references));
        EXPECT_EQ(m_client->OpcUaBrowse(node), 0);
    }
};

} // namespace

TEST_F(LookupBelowRecords, FindsWhatBrowsingHungThere) {
    lookUp("ns=2;s=Head");
    OpcUaNode* node = lookUp("ns=2;s=A");
    browse(node, {{"ns=2;s=A.1", "1"}, {"ns=2;s=A.2", "2"}});
    EXPECT_EQ(lookUp("ns=2;s=A.2"), node->child->next);
    EXPECT_EQ(lookUp("ns=2;s=A"), node);
}

TEST_F(LookupBelowRecords, RowRecordWinsOverWhatHangsBelowAnother) {
    lookUp("ns=2;s=Head");
    OpcUaNode* node = lookUp("ns=2;s=A");
    OpcUaNode* other = lookUp("ns=2;s=X");
    browse(node, {{"ns=2;s=X", "X"}});
    EXPECT_EQ(lookUp("ns=2;s=X"), other);
}

TEST_F(LookupBelowRecords, TheLastOfSeveralBelowIsGiven) {
    lookUp("ns=2;s=Head");
    OpcUaNode* first = lookUp("ns=2;s=A");
    OpcUaNode* second = lookUp("ns=2;s=B");
    browse(first, {{"ns=2;s=X1", "X1"}});
    browse(second, {{"ns=2;s=X2", "X2"}, {"ns=2;s=X3", "X3"}});
    EXPECT_EQ(lookUp("ns=2;s=X"), second->child);
}

TEST_F(LookupBelowRecords, ForgetsWhatALaterBrowseReplaced) {
    lookUp("ns=2;s=Head");
    OpcUaNode* node = lookUp("ns=2;s=A");
    browse(node, {{"ns=2;s=A.1", "1"}});
    OpcUaNode* before = lookUp("ns=2;s=A.1");
    EXPECT_EQ(before, node->child);
    browse(node, {{"ns=2;s=A.2", "2"}});
    OpcUaNode* made = lookUp("ns=2;s=A.1");
    EXPECT_NE(made, node->child);
    EXPECT_EQ(made->parent, nullptr) << "a record of its own now";
}

TEST_F(LookupBelowRecords, BrowsingTheFirstRecordReplacesTheRow) {
    OpcUaNode* head = lookUp("ns=2;s=A");
    lookUp("ns=2;s=C");
    lookUp("ns=2;s=D");
    const record_census::Quarantine quarantine;
    browse(head, {{"ns=2;s=A.1", "1"}});
    EXPECT_EQ(quarantine.freedOnce(), 2);
    EXPECT_EQ(lookUp("ns=2;s=A"), head);
    EXPECT_EQ(lookUp("ns=2;s=A.1"), head->child);
    OpcUaNode* again = lookUp("ns=2;s=C");
    EXPECT_EQ(head->child->next, again);
    EXPECT_EQ(lookUp("ns=2;s=C"), again);
}

TEST_F(NodeLookup, FollowsAKeyThatTheApplicationChanged) {
    lookUp("ns=2;s=Head");
    OpcUaNode* node = lookUp("ns=2;s=A");
    setField(node->nodeId, "ns=2;s=Z");
    OpcUaNode* made = lookUp("ns=2;s=A");
    EXPECT_NE(made, node);
    EXPECT_EQ(fieldText(made->nodeId), "ns=2;s=A");
}

namespace {

/// The application adds records of its own to those that it looked up.
class LookupOfAddedRecords : public LookupBelowRecords {
protected:
    /// A record that the client frees in the end.
    static OpcUaNode* own(const std::string& nodeId) { return new OpcUaNode(makeNode(nodeId)); }
    static std::vector<const OpcUaNode*> rowOf(const OpcUaNode* head) {
        std::vector<const OpcUaNode*> row;
        for (const OpcUaNode* node = head->child; node != nullptr; node = node->next)
            row.push_back(node);
        return row;
    }

    COpcUaNodelist m_list;
};

} // namespace

TEST_F(LookupOfAddedRecords, KeepsThemInTheRow) {
    OpcUaNode* head = lookUp("ns=2;s=Head");
    OpcUaNode* added = own("ns=2;s=Added");
    m_list.addNode(head, added);
    OpcUaNode* second = lookUp("ns=2;s=Second");
    OpcUaNode* another = own("ns=2;s=Another");
    m_list.addNode(head, another);
    OpcUaNode* third = lookUp("ns=2;s=Third");
    EXPECT_THAT(rowOf(head), ElementsAre(added, second, another, third));
}

TEST_F(LookupOfAddedRecords, KeepsThemBetweenALookupThatFindsAndOneThatMakes) {
    OpcUaNode* head = lookUp("ns=2;s=Head");
    OpcUaNode* second = lookUp("ns=2;s=Second");
    OpcUaNode* added = own("ns=2;s=Added");
    m_list.addnextNode(second, added);
    EXPECT_EQ(lookUp("ns=2;s=Second"), second);
    OpcUaNode* third = lookUp("ns=2;s=Third");
    EXPECT_THAT(rowOf(head), ElementsAre(second, added, third));
}

TEST_F(LookupOfAddedRecords, FindsThemInTheRow) {
    OpcUaNode* head = lookUp("ns=2;s=Head");
    OpcUaNode* added = own("ns=2;s=Tank10");
    m_list.addNode(head, added);
    EXPECT_EQ(lookUp("ns=2;s=Tank10"), added);
    EXPECT_EQ(lookUp("ns=2;s=Tank1"), added);
    OpcUaNode* shorter = own("ns=2;s=Tank1");
    m_list.addNode(head, shorter);
    EXPECT_EQ(lookUp("ns=2;s=Tank1"), added) << "the older one, as a walk over the records finds it";
    m_list.addNode(head, own("ns=2;s=Tank"));
    EXPECT_EQ(lookUp("ns=2;s=Tank"), added) << "also of a text that was never asked for";
}

TEST_F(LookupOfAddedRecords, KeepsThemBelowARecordOfTheRow) {
    lookUp("ns=2;s=Head");
    OpcUaNode* node = lookUp("ns=2;s=A");
    OpcUaNode* added = own("ns=2;s=Below");
    m_list.addNode(node, added);
    lookUp("ns=2;s=Second");
    EXPECT_EQ(node->child, added);
    EXPECT_EQ(added->next, nullptr);
}

TEST_F(LookupOfAddedRecords, KeepsThemBehindTheFirstRecord) {
    OpcUaNode* head = lookUp("ns=2;s=Head");
    OpcUaNode* added = own("ns=2;s=Added");
    m_list.addnextNode(head, added);
    OpcUaNode* second = lookUp("ns=2;s=Second");
    EXPECT_EQ(head->next, added);
    EXPECT_EQ(head->child, second);
}

TEST_F(LookupBelowRecords, ForgetsAnswersOfARowThatWasReplaced) {
    OpcUaNode* head = lookUp("ns=2;s=A");
    lookUp("ns=2;s=Tank10");
    lookUp("ns=2;s=Tank1");
    lookUp("ns=2;s=Tank10");
    const record_census::Quarantine quarantine;
    browse(head, {{"ns=2;s=B", "B"}});
    OpcUaNode* tank = lookUp("ns=2;s=Tank1");
    EXPECT_EQ(quarantine.placeOf(tank), 0) << "not a freed one";
    EXPECT_EQ(fieldText(tank->nodeId), "ns=2;s=Tank1");
    EXPECT_EQ(head->child->next, tank);
    EXPECT_NE(lookUp("ns=2;s=Tank10"), tank);
}

TEST_F(LookupBelowRecords, GoesOnBehindARowThatWasEmptied) {
    OpcUaNode* head = lookUp("ns=2;s=A");
    lookUp("ns=2;s=C");
    lookUp("ns=2;s=D");
    const record_census::Quarantine quarantine;
    browse(head, {});
    OpcUaNode* made = lookUp("ns=2;s=C");
    EXPECT_EQ(head->child, made);
    EXPECT_EQ(made->next, nullptr);
    EXPECT_EQ(lookUp("ns=2;s=D"), made->next);
}

TEST_F(LookupBelowRecords, LooksBelowNoRecordThatIsGone) {
    OpcUaNode* head = lookUp("ns=2;s=A");
    OpcUaNode* node = lookUp("ns=2;s=B");
    browse(node, {{"ns=2;s=B.1", "1"}});
    EXPECT_EQ(lookUp("ns=2;s=B.1"), node->child);
    const record_census::Quarantine quarantine;
    browse(head, {});
    OpcUaNode* made = lookUp("ns=2;s=B.1");
    EXPECT_EQ(quarantine.placeOf(made), 0);
    EXPECT_EQ(head->child, made);
}

TEST_F(NodeLookup, NoLongerGivesARecordThatItGaveWhenItsKeyHasChanged) {
    lookUp("ns=2;s=Head");
    OpcUaNode* node = lookUp("ns=2;s=A");
    EXPECT_EQ(lookUp("ns=2;s=A"), node);
    setField(node->nodeId, "ns=2;s=Z");
    OpcUaNode* made = lookUp("ns=2;s=A");
    EXPECT_NE(made, node);
    EXPECT_EQ(lookUp("ns=2;s=A"), made);
    EXPECT_EQ(lookUp("ns=2;s=Z"), node) << "the records were gone through anew";
}
