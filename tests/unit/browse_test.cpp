#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "client/opcua_client.h"
#include "client_test.h"

using standin::BrowseNextRequest;
using standin::BrowseRequest;
using standin::ReadRequest;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

namespace {

class Browse : public ClientTest {
protected:
    Browse() {
        connect();
        answerReferences({});
    }

    void answerReferences(std::vector<Reference> references) {
        script().onBrowse = ::answerReferences(std::move(references));
    }

    OpcUaNode* root() { return m_client->OpcUaReadRootNode(); }

    static std::vector<std::string> childIds(const OpcUaNode* parent) {
        std::vector<std::string> ids;
        for (const OpcUaNode* child = parent->child; child != nullptr; child = child->next)
            ids.push_back(fieldText(child->nodeId));
        return ids;
    }

    /// The only child that the browse of this reference makes.
    OpcUaNode* browseOne(const Reference& reference) {
        answerReferences({reference});
        EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
        return root()->child;
    }

    /// Hangs the children off a record of the test's own, to be freed by it.
    struct OwnRecord {
        explicit OwnRecord(const std::string& nodeId) : node(makeNode(nodeId)) {}
        ~OwnRecord() { COpcUaNodelist().deleteMemory(&node.child); }
        OwnRecord(const OwnRecord&) = delete;
        OwnRecord& operator=(const OwnRecord&) = delete;
        OpcUaNode node;
    };
};

const std::vector<Reference> twoChildren = {{"ns=2;s=A", "A"}, {"ns=2;s=B", "B"}};

std::string field(char fill, std::size_t length) {
    return std::string(length, fill);
}

} // namespace

TEST_F(Browse, OfTheServerMakesTheRoot) {
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    ASSERT_NE(root(), nullptr);
    EXPECT_EQ(std::string(root()->browseName, 256), "Root" + field('\0', 252));
    EXPECT_EQ(std::string(root()->displayName, 256), "Root" + field('\0', 252));
    EXPECT_EQ(std::string(root()->locale, 256), "CH" + field('\0', 254));
    EXPECT_EQ(std::string(root()->nodeId, 256), "i=84" + field('\0', 252));
    EXPECT_EQ(root()->nodeClass, 1);
    EXPECT_EQ(root()->dataType, 0);
    EXPECT_EQ(root()->reservedFlag, 0);
    EXPECT_EQ(root()->arrayInfo.kind, 0);
    EXPECT_EQ(root()->arrayInfo.dimCount, 0);
    EXPECT_THAT(root()->arrayInfo.dims, Each(0U));
    EXPECT_EQ(root()->parent, nullptr);
    EXPECT_EQ(root()->next, nullptr);
    EXPECT_EQ(root()->child, nullptr);
}

TEST_F(Browse, AsksForAllHierarchicalChildren) {
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::browse"));
    const BrowseRequest request = script().requests<BrowseRequest>().at(0);
    EXPECT_EQ(request.nodeId, "i=84");
    EXPECT_EQ(request.settings.callTimeout, 10000);
    EXPECT_EQ(request.context.maxReferencesToReturn, 0U);
    EXPECT_EQ(request.context.browseDirection, OpcUa_BrowseDirection_Forward);
    EXPECT_EQ(request.context.referenceTypeId, UaNodeId(33));
    EXPECT_TRUE(request.context.includeSubtypes);
    EXPECT_EQ(request.context.nodeClassMask, 0U);
    EXPECT_EQ(request.context.resultMask, 0x3FU);
    EXPECT_EQ(request.continuationPoint.length(), 0);
    EXPECT_EQ(request.referencesOnEntry, 0U);
}

TEST_F(Browse, ReadsEveryChildsValueOnceAndInOrder) {
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_THAT(script().operations(),
                ElementsAre("UaSession::browse", "UaSession::read", "UaSession::read"));
    const auto reads = script().requests<ReadRequest>();
    ASSERT_THAT(reads, SizeIs(2));
    EXPECT_EQ(reads[0].items.at(0).nodeId, "ns=2;s=A");
    EXPECT_EQ(reads[1].items.at(0).nodeId, "ns=2;s=B");
    for (const ReadRequest& read : reads) {
        ASSERT_THAT(read.items, SizeIs(1));
        EXPECT_EQ(read.items[0].attributeId, 13U);
        EXPECT_EQ(read.items[0].indexRange, "");
        EXPECT_EQ(read.items[0].dataEncoding, "");
        EXPECT_EQ(read.settings.callTimeout, 10000);
        EXPECT_EQ(read.maxAge, 0);
        EXPECT_EQ(read.timestamps, OpcUa_TimestampsToReturn_Both);
    }
}

TEST_F(Browse, ReadsOfAPageNeedNotWaitForEachOther) {
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(script().sequences(), 1);
    EXPECT_THAT(script().requests<ReadRequest>(), SizeIs(2));
}

TEST_F(Browse, NeverAsksWhetherTheSessionIsConnected) {
    answerReferences(twoChildren);
    script().onIsConnected = [] { return false; };
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_THAT(script().operations(), Not(Contains("UaSession::isConnected")));
}

TEST_F(Browse, HoldsTheClientMutexThroughout) {
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    for (const standin::Call& call : script().calls())
        EXPECT_THAT(call.surroundings.heldMutexes, ElementsAre(mutex_watch::clientMutex)) << call.operation;
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::clientMutex));
}

TEST_F(Browse, ReadingTheRootTakesNoLock) {
    m_client->OpcUaReadRootNode();
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
}

TEST_F(Browse, LinksTheChildrenInTheServersOrder) {
    answerReferences({{"ns=2;s=B", "B"}, {"ns=2;s=A", "A"}, {"i=85", "Objects"}});
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_THAT(childIds(root()), ElementsAre("ns=2;s=B", "ns=2;s=A", "i=85"));
    for (const OpcUaNode* child = root()->child; child != nullptr; child = child->next) {
        EXPECT_EQ(child->parent, root());
        EXPECT_EQ(child->child, nullptr);
    }
}

TEST_F(Browse, FillsAChildsRecord) {
    script().onRead = answerValue(doubleVariant(1.5));
    const OpcUaNode* child = browseOne({"ns=2;s=Line1.Speed", "Speed", 2, "en", "Line speed", 2});
    EXPECT_EQ(std::string(child->nodeId, 256), "ns=2;s=Line1.Speed" + field('\0', 238));
    EXPECT_EQ(std::string(child->browseName, 256), "2:Speed" + field('\0', 249));
    EXPECT_EQ(std::string(child->locale, 256), "en" + field('\0', 254));
    EXPECT_EQ(std::string(child->displayName, 256), "Line speed" + field('\0', 246));
    EXPECT_EQ(child->dataType, OpcUaDataType_Double);
    EXPECT_EQ(child->nodeClass, 2);
    EXPECT_EQ(child->reservedFlag, 0);
    EXPECT_EQ(child->arrayInfo.kind, 0);
    EXPECT_EQ(child->arrayInfo.dimCount, 0);
    EXPECT_THAT(child->arrayInfo.dims, Each(0U));
}

TEST_F(Browse, FillsAChildsShape) {
    const OpcUa_Double elements[12] = {};
    script().onRead = answerValue(arrayVariant(OpcUaType_Double, elements, 12, {3, 4}));
    const OpcUaNode* child = browseOne({"ns=2;s=M", "M"});
    EXPECT_EQ(child->dataType, OpcUaDataType_Double);
    EXPECT_EQ(child->arrayInfo.kind, 1);
    EXPECT_EQ(child->arrayInfo.dimCount, 2);
    EXPECT_EQ(child->arrayInfo.dims[0], 3U);
    EXPECT_EQ(child->arrayInfo.dims[1], 4U);
    EXPECT_EQ(child->arrayInfo.dims[2], 0U);
}

TEST_F(Browse, ShapesDoNotLeakIntoTheNextChild) {
    answerReferences(twoChildren);
    const OpcUa_Int32 elements[5] = {};
    script().onRead = [&elements](const ReadRequest& request, UaDataValues& values) {
        const bool array = request.items[0].nodeId == "ns=2;s=A";
        return answerValue(array ? arrayVariant(OpcUaType_Int32, elements, 5) : int32Variant(1))(request,
                                                                                                 values);
    };
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(root()->child->arrayInfo.dims[0], 5U);
    EXPECT_EQ(root()->child->next->arrayInfo.kind, 0);
    EXPECT_EQ(root()->child->next->arrayInfo.dimCount, 0);
    EXPECT_EQ(root()->child->next->arrayInfo.dims[0], 0U);
}

TEST_F(Browse, IgnoresServerIndexAndNamespaceUriOfTheTarget) {
    Reference reference{"ns=3;i=7", "Remote"};
    reference.namespaceUri = "urn:elsewhere";
    reference.serverIndex = 4;
    EXPECT_EQ(fieldText(browseOne(reference)->nodeId), "ns=3;i=7");
    EXPECT_EQ(script().requests<ReadRequest>().at(0).items.at(0).nodeId, "ns=3;i=7");
}

TEST_F(Browse, StoresEveryNodeIdKindInItsTextForm) {
    const std::vector<std::string> ids = {"i=85", "ns=2;i=4294967295", "ns=65535;s=a;b=c d",
                                          "ns=1;g=09087e75-8e5e-499b-954f-f2a9603db28a", "ns=2;b=AQID"};
    std::vector<Reference> references;
    for (const std::string& id : ids)
        references.push_back({id, "x"});
    answerReferences(references);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(childIds(root()), ids);
}

TEST_F(Browse, TextsOf255BytesAreTerminated) {
    const OpcUaNode* child =
        browseOne({"ns=2;s=" + field('n', 248), field('b', 253), 0, field('l', 255), field('d', 255)});
    EXPECT_EQ(std::string(child->nodeId, 256), "ns=2;s=" + field('n', 248) + '\0');
    EXPECT_EQ(std::string(child->browseName, 256), "0:" + field('b', 253) + '\0');
    EXPECT_EQ(std::string(child->locale, 256), field('l', 255) + '\0');
    EXPECT_EQ(std::string(child->displayName, 256), field('d', 255) + '\0');
}

TEST_F(Browse, LongerTextsFillTheirFieldsWithoutTerminator) {
    for (const std::size_t length : {256U, 257U, 300U, 5000U}) {
        const OpcUaNode* child = browseOne({"ns=2;s=" + field('n', length - 7), field('b', length - 2), 0,
                                            field('l', length), field('d', length)});
        EXPECT_EQ(std::string(child->nodeId, 256), "ns=2;s=" + field('n', 249));
        EXPECT_EQ(std::string(child->browseName, 256), "0:" + field('b', 254));
        EXPECT_EQ(std::string(child->locale, 256), field('l', 256));
        EXPECT_EQ(std::string(child->displayName, 256), field('d', 256));
        EXPECT_EQ(child->nodeClass, 2);
        EXPECT_EQ(script().requests<ReadRequest>().back().items.at(0).nodeId,
                  "ns=2;s=" + field('n', length - 7))
            << "the value is read with the whole node id";
    }
}

TEST_F(Browse, TellsOfARecordThatNamesAnotherNode) {
    const auto told = [](const std::string& name, std::size_t size) {
        return "browse | the record of " + name + " names another node or none: the server's id of " +
               std::to_string(size) + " bytes does not fit into it";
    };
    browseOne({"ns=2;s=" + field('n', 249), "x", 0, "", ""});
    EXPECT_THAT(platform_recorder::traceLines(),
                testing::Not(Contains(testing::HasSubstr("names another node"))));
    browseOne({"ns=2;s=" + field('n', 250), "x", 0, "", ""});
    EXPECT_THAT(platform_recorder::traceLines(), Contains(told("ns=2;s=" + field('n', 249), 257)));
}

TEST_F(Browse, KeepsUtf8Bytes) {
    const OpcUaNode* child =
        browseOne({"ns=2;s=\xE9\x94\x85\xE7\x82\x89", "\xC3\xBC", 0, "zh", "\xE9\x94\x85"});
    EXPECT_EQ(fieldText(child->nodeId), "ns=2;s=\xE9\x94\x85\xE7\x82\x89");
    EXPECT_EQ(fieldText(child->browseName), "0:\xC3\xBC");
    EXPECT_EQ(fieldText(child->displayName), "\xE9\x94\x85");
}

TEST_F(Browse, StoresEachNodeClassAsItIs) {
    for (const int nodeClass : {1, 2, 4, 8, 16, 32, 64, 128})
        EXPECT_EQ(browseOne({"i=1", "x", 0, "", "", static_cast<OpcUa_UInt32>(nodeClass)})->nodeClass,
                  nodeClass);
}

TEST_F(Browse, OfSeveralNodeClassBitsTheHighestIsStored) {
    EXPECT_EQ(browseOne({"i=1", "x", 0, "", "", 3})->nodeClass, 2);
    EXPECT_EQ(browseOne({"i=1", "x", 0, "", "", 0x91})->nodeClass, 128);
    EXPECT_EQ(browseOne({"i=1", "x", 0, "", "", 0x102})->nodeClass, 2)
        << "bits above the low eight don't count";
    EXPECT_EQ(browseOne({"i=1", "x", 0, "", "", 0xFFFFFF04})->nodeClass, 4)
        << "nor does a number that no node class has";
}

TEST_F(Browse, BadServiceFailsAndKeepsTheRoot) {
    for (const OpcUa_StatusCode status : {badStatus, bothBitsStatus}) {
        script().onBrowse = [status](const BrowseRequest&, UaByteString&,
                                     UaReferenceDescriptions& references) {
            fillReferences(references, twoChildren);
            return UaStatus(status);
        };
        EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 4);
        EXPECT_EQ(message(), messages::browseFailed);
        ASSERT_NE(root(), nullptr);
        EXPECT_EQ(root()->child, nullptr);
    }
}

TEST_F(Browse, UncertainServiceSucceeds) {
    for (const OpcUa_StatusCode status : {uncertainStatus, goodWithDetails}) {
        script().onBrowse = [status](const BrowseRequest&, UaByteString&,
                                     UaReferenceDescriptions& references) {
            fillReferences(references, twoChildren);
            return UaStatus(status);
        };
        EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
        EXPECT_THAT(childIds(root()), SizeIs(2));
    }
}

namespace {

/// Answers in pages of these sizes; the nodes are numbered through.
class PagedBrowse : public Browse {
protected:
    void answerPages(std::vector<int> pages) {
        m_pages = std::move(pages);
        script().onBrowse = [this](const BrowseRequest&, UaByteString& point,
                                   UaReferenceDescriptions& target) {
            m_page = 0;
            m_next = 0;
            fillPage(point, target);
            return UaStatus();
        };
        script().onBrowseNext = [this](const BrowseNextRequest&, UaByteString& point,
                                       UaReferenceDescriptions& target) {
            fillPage(point, target);
            return m_nextStatus;
        };
    }

    void fillPage(UaByteString& point, UaReferenceDescriptions& target) {
        std::vector<Reference> references;
        for (int i = 0; i < m_pages.at(m_page); ++i)
            references.push_back({"ns=2;i=" + std::to_string(m_next++), "x"});
        fillReferences(target, references);
        ++m_page;
        point =
            m_page < m_pages.size() ? continuationPoint("page " + std::to_string(m_page)) : UaByteString();
    }

    void expectChildren(int count) {
        std::vector<std::string> expected;
        for (int i = 0; i < count; ++i)
            expected.push_back("ns=2;i=" + std::to_string(i));
        EXPECT_EQ(childIds(root()), expected);
    }

    std::vector<int> m_pages;
    std::size_t m_page = 0;
    int m_next = 0;
    UaStatus m_nextStatus;
};

} // namespace

TEST_F(PagedBrowse, FollowsContinuationPointsToTheEnd) {
    answerPages({2, 2, 1});
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    expectChildren(5);
    EXPECT_THAT(script().operations(),
                ElementsAre("UaSession::browse", "UaSession::read", "UaSession::read",
                            "UaSession::browseNext", "UaSession::read", "UaSession::read",
                            "UaSession::browseNext", "UaSession::read"));
    const auto requests = script().requests<BrowseNextRequest>();
    ASSERT_THAT(requests, SizeIs(2));
    EXPECT_EQ(requests[0].continuationPoint, continuationPoint("page 1"));
    EXPECT_EQ(requests[1].continuationPoint, continuationPoint("page 2"));
    for (const BrowseNextRequest& request : requests) {
        EXPECT_FALSE(request.releaseContinuationPoint);
        EXPECT_EQ(request.settings.callTimeout, 10000);
        EXPECT_EQ(request.references, requests[0].references) << "one result list serves every page";
    }
}

TEST_F(PagedBrowse, EmptyPagesAreNoEnd) {
    answerPages({0, 2, 0, 0, 1, 0});
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    expectChildren(3);
    EXPECT_THAT(script().requests<BrowseNextRequest>(), SizeIs(5));
}

TEST_F(PagedBrowse, FollowsEvenThousandsOfPages) {
    answerPages(std::vector<int>(5000, 0));
    for (std::size_t page = 9; page < m_pages.size(); page += 10)
        m_pages[page] = 1;
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    expectChildren(500);
    EXPECT_THAT(script().requests<BrowseNextRequest>(), SizeIs(4999));
}

TEST_F(PagedBrowse, ContinuationPointMayHoldZeroBytes) {
    answerPages({1, 1});
    script().onBrowse = [this](const BrowseRequest&, UaByteString& point, UaReferenceDescriptions& target) {
        fillPage(point, target);
        point = continuationPoint(std::string("\0", 1));
        return UaStatus();
    };
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    expectChildren(2);
}

TEST_F(PagedBrowse, FailureOnALaterPageKeepsTheEarlierOnes) {
    answerPages({2, 2});
    m_nextStatus = badStatus;
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 4);
    EXPECT_EQ(message(), messages::browseFailed);
    expectChildren(2);
}

TEST_F(PagedBrowse, UncertainPagesAreTaken) {
    answerPages({2, 2});
    m_nextStatus = uncertainStatus;
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    expectChildren(4);
}

TEST_F(PagedBrowse, ManyChildrenKeepTheirOrder) {
    answerPages({700, 500});
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    expectChildren(1200);
}

namespace {

/// Pages that find no end.
class BrowseWithoutEnd : public PagedBrowse {
protected:
    static constexpr int mostChildren = 250000;

    /// Browses the root, which must fail, and gives the requests for further pages.
    std::vector<BrowseNextRequest> failingBrowse() {
        EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 4);
        EXPECT_EQ(message(), messages::browseFailed);
        return script().requests<BrowseNextRequest>();
    }

    static void expectGivenUp(const std::string& reason) {
        EXPECT_THAT(platform_recorder::traceLines(),
                    Contains("browse | browsing i=84 is given up: the server gives " + reason));
    }

    long childCount() {
        long count = 0;
        for (const OpcUaNode* child = root()->child; child != nullptr; child = child->next)
            ++count;
        return count;
    }
};

} // namespace

TEST_F(BrowseWithoutEnd, TheTenthEmptyPageEndsIt) {
    answerPages(std::vector<int>(100, 0));
    const auto requests = failingBrowse();
    ASSERT_THAT(requests, SizeIs(10)) << "nine further pages and the release";
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_FALSE(requests[i].releaseContinuationPoint);
    EXPECT_TRUE(requests[9].releaseContinuationPoint);
    EXPECT_EQ(requests[9].continuationPoint, continuationPoint("page 10"));
    EXPECT_EQ(requests[9].settings.callTimeout, 10000);
    expectGivenUp("ten empty pages in a row");
}

TEST_F(BrowseWithoutEnd, ChildrenOfEarlierPagesStay) {
    answerPages({2, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7});
    EXPECT_THAT(failingBrowse(), SizeIs(13));
    expectChildren(3);
}

TEST_F(BrowseWithoutEnd, EmptyPagesBetweenChildrenAreCountedAnew) {
    answerPages({0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    expectChildren(2);
}

TEST_F(BrowseWithoutEnd, ATenthEmptyPageThatIsTheLastIsAnEnd) {
    answerPages(std::vector<int>(10, 0));
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    expectChildren(0);
    EXPECT_THAT(script().requests<BrowseNextRequest>(), SizeIs(9));
    EXPECT_THAT(platform_recorder::traceLines(), IsEmpty());
}

TEST_F(BrowseWithoutEnd, AFailedReleaseChangesNothing) {
    answerPages(std::vector<int>(100, 0));
    script().onBrowseNext = [this](const BrowseNextRequest& request, UaByteString& point,
                                   UaReferenceDescriptions& target) {
        fillPage(point, target);
        return request.releaseContinuationPoint ? UaStatus(badStatus) : UaStatus();
    };
    EXPECT_THAT(failingBrowse(), SizeIs(10));
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 4) << "and the client goes on";
}

TEST_F(BrowseWithoutEnd, WhatAReleaseBringsIsNotTaken) {
    answerPages(std::vector<int>(100, 0));
    m_pages[10] = 3;
    EXPECT_THAT(failingBrowse(), SizeIs(10));
    expectChildren(0);
}

TEST_F(BrowseWithoutEnd, WhereTypesCannotBeReadTheRestIsReleased) {
    answerPages({3, 3, 3});
    script().onRead = [](const standin::ReadRequest&, UaDataValues&) { return UaStatus(badStatus); };
    const auto requests = failingBrowse();
    ASSERT_THAT(requests, SizeIs(1));
    EXPECT_TRUE(requests[0].releaseContinuationPoint);
}

TEST_F(BrowseWithoutEnd, OnePageWithTooManyChildrenIsRefusedUnread) {
    answerPages({mostChildren + 1});
    EXPECT_THAT(failingBrowse(), IsEmpty()) << "there is no continuation point to release";
    EXPECT_THAT(script().requests<ReadRequest>(), IsEmpty());
    EXPECT_EQ(root()->child, nullptr);
    expectGivenUp("more than 250000 children");
}

TEST_F(BrowseWithoutEnd, APageThatExceedsTheChildrenIsRefusedUnread) {
    answerPages({3, mostChildren - 2, 1});
    const auto requests = failingBrowse();
    ASSERT_THAT(requests, SizeIs(2));
    EXPECT_TRUE(requests[1].releaseContinuationPoint);
    EXPECT_THAT(script().requests<ReadRequest>(), SizeIs(3));
    expectChildren(3);
    expectGivenUp("more than 250000 children");
}

TEST_F(BrowseWithoutEnd, AsManyChildrenAsThereMayBeAreTaken) {
    answerPages({mostChildren - 1, 1});
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(childCount(), mostChildren);
    EXPECT_EQ(record_census::live(), mostChildren + 1);
}

TEST_F(Browse, FailedReadOfAChildDropsItAndTheRest) {
    answerReferences({{"ns=2;s=A", "A"}, {"ns=2;s=B", "B"}, {"ns=2;s=C", "C"}});
    script().onRead = [](const ReadRequest& request, UaDataValues& values) {
        values.create(1);
        return request.items[0].nodeId == "ns=2;s=B" ? UaStatus(badStatus) : UaStatus();
    };
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 4);
    EXPECT_EQ(message(), messages::browseFailed);
    EXPECT_THAT(childIds(root()), ElementsAre("ns=2;s=A"));
    EXPECT_THAT(script().requests<ReadRequest>(), SizeIs(2));
}

TEST_F(Browse, SoDoesThatOfTheLastChild) {
    answerReferences({{"ns=2;s=A", "A"}, {"ns=2;s=B", "B"}});
    script().onRead = [](const ReadRequest& request, UaDataValues& values) {
        values.create(1);
        return request.items[0].nodeId == "ns=2;s=B" ? UaStatus(badStatus) : UaStatus();
    };
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 4);
    EXPECT_THAT(childIds(root()), ElementsAre("ns=2;s=A"));
}

TEST_F(Browse, FailedReadStopsBeforeTheNextPage) {
    script().onBrowse = [](const BrowseRequest&, UaByteString& point, UaReferenceDescriptions& references) {
        fillReferences(references, twoChildren);
        point = continuationPoint("more");
        return UaStatus();
    };
    script().onRead = [](const ReadRequest&, UaDataValues&) { return UaStatus(badStatus); };
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 4);
    EXPECT_THAT(script().operations(),
                ElementsAre("UaSession::browse", "UaSession::read", "UaSession::browseNext"));
    EXPECT_TRUE(script().requests<BrowseNextRequest>().at(0).releaseContinuationPoint);
}

TEST_F(Browse, ChildWithoutReadableValueStays) {
    for (const OpcUa_StatusCode status : {badStatus, uncertainStatus, bothBitsStatus}) {
        script().onRead = answerValue(int32Variant(1), status);
        const OpcUaNode* child = browseOne({"i=85", "Objects", 0, "", "Objects", 1});
        EXPECT_EQ(child->dataType, 0);
        EXPECT_EQ(child->arrayInfo.kind, 0);
        EXPECT_EQ(message(), messages::dataTypeFailed) << "a success that leaves a message behind";
    }
}

TEST_F(Browse, SuccessKeepsAnEarlierMessage) {
    storeEarlierMessage();
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(message(), earlierMessage);
}

TEST_F(Browse, OfTheServerReplacesTheTree) {
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(m_client->OpcUaBrowse(root()->child), 0);
    ASSERT_EQ(record_census::live(), 5);
    const record_census::Quarantine quarantine;
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(quarantine.freedOnce(), 5);
    EXPECT_EQ(quarantine.freedAgain(), 0);
    EXPECT_EQ(record_census::live(), 3);
    EXPECT_THAT(childIds(root()), SizeIs(2));
}

TEST_F(Browse, OfTheServerReplacesTheTreeBeforeItFails) {
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    script().onBrowse = [](const BrowseRequest&, UaByteString&, UaReferenceDescriptions&) {
        return UaStatus(badStatus);
    };
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 4);
    EXPECT_EQ(record_census::live(), 1);
    EXPECT_EQ(root()->child, nullptr);
}

TEST_F(Browse, OfATreeRecordHangsTheChildrenUnderIt) {
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    OpcUaNode* second = root()->child->next;
    answerReferences({{"ns=2;s=B.1", "1"}, {"ns=2;s=B.2", "2"}});
    script().forgetCalls();
    EXPECT_EQ(m_client->OpcUaBrowse(second), 0);
    EXPECT_EQ(script().requests<BrowseRequest>().at(0).nodeId, "ns=2;s=B");
    EXPECT_THAT(childIds(second), ElementsAre("ns=2;s=B.1", "ns=2;s=B.2"));
    EXPECT_EQ(second->child->parent, second);
    EXPECT_THAT(childIds(root()), ElementsAre("ns=2;s=A", "ns=2;s=B"));
    EXPECT_EQ(root()->child->child, nullptr);
}

TEST_F(Browse, OfTheRootRecordReplacesItsChildren) {
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    OpcUaNode* before = root();
    answerReferences({{"ns=2;s=C", "C"}});
    EXPECT_EQ(m_client->OpcUaBrowse(before), 0);
    EXPECT_EQ(root(), before);
    EXPECT_THAT(childIds(root()), ElementsAre("ns=2;s=C"));
    EXPECT_EQ(record_census::live(), 2);
}

TEST_F(Browse, TwiceOfARecordGivesTheSameChildrenOnce) {
    answerReferences({{"ns=2;s=A", "A"}});
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    OpcUaNode* node = root()->child;
    answerReferences({{"ns=2;s=A.1", "1"}, {"ns=2;s=A.2", "2"}});
    EXPECT_EQ(m_client->OpcUaBrowse(node), 0);
    const record_census::Quarantine quarantine;
    EXPECT_EQ(m_client->OpcUaBrowse(node), 0);
    EXPECT_THAT(childIds(node), ElementsAre("ns=2;s=A.1", "ns=2;s=A.2"));
    EXPECT_EQ(quarantine.freedOnce(), 2);
    EXPECT_EQ(quarantine.freedAgain(), 0);
}

TEST_F(Browse, OfATreeRecordFailsWithItsOldChildrenGone) {
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(m_client->OpcUaBrowse(root()->child), 0);
    script().onBrowse = [](const BrowseRequest&, UaByteString&, UaReferenceDescriptions&) {
        return UaStatus(badStatus);
    };
    EXPECT_EQ(m_client->OpcUaBrowse(root()->child), 4);
    EXPECT_EQ(message(), messages::browseFailed);
    EXPECT_EQ(root()->child->child, nullptr);
    EXPECT_EQ(record_census::live(), 3);
}

TEST_F(Browse, OfACallersRecordInTheTreeHangsTheChildrenUnderTheCallersRecord) {
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    OwnRecord own("ns=2;s=B");
    answerReferences({{"ns=2;s=B.1", "1"}});
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 0);
    EXPECT_THAT(childIds(&own.node), ElementsAre("ns=2;s=B.1"));
    EXPECT_EQ(own.node.child->parent, &own.node);
    EXPECT_EQ(root()->child->next->child, nullptr) << "the record in the tree gets none";
    const record_census::Quarantine quarantine;
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 0);
    EXPECT_EQ(quarantine.freedOnce(), 1) << "the earlier children are replaced";
    EXPECT_THAT(childIds(&own.node), SizeIs(1));
}

TEST_F(Browse, PrefixOfATreeRecordIsKnown) {
    answerReferences({{"ns=2;s=Tank10", "Tank10"}});
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    OwnRecord own("ns=2;s=Tank1");
    script().forgetCalls();
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 0);
    EXPECT_EQ(script().requests<BrowseRequest>().at(0).nodeId, "ns=2;s=Tank1")
        << "the caller's own id is browsed";
}

TEST_F(Browse, EmptyIdIsKnownAndBrowsesTheNullNode) {
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    OwnRecord own("");
    script().forgetCalls();
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 0);
    EXPECT_EQ(script().requests<BrowseRequest>().at(0).nodeId, UaNodeId().toXmlString().text());
}

TEST_F(Browse, OfARecordOutsideTheTreeIsRefused) {
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    OwnRecord own("ns=2;s=C");
    m_client->OpcUaReadRootNode();
    own.node.child = nullptr;
    script().forgetCalls();
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 6);
    EXPECT_EQ(message(), messages::nodeNotInTree);
    EXPECT_THAT(script().operations(), IsEmpty());
    EXPECT_THAT(childIds(root()), SizeIs(2)) << "the tree stays";
}

TEST_F(Browse, OfARecordOutsideTheTreeKeepsItsChildren) {
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    OwnRecord own("ns=2;s=B");
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 0);
    setField(own.node.nodeId, "ns=2;s=Gone");
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 6);
    EXPECT_THAT(childIds(&own.node), SizeIs(2));
}

TEST_F(Browse, FirstOfASingleNodeMakesASelfRoot) {
    answerReferences(twoChildren);
    OwnRecord own("ns=2;s=Line1");
    own.node.nodeClass = 1;
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 0);
    EXPECT_EQ(script().requests<BrowseRequest>().at(0).nodeId, "ns=2;s=Line1");
    EXPECT_EQ(own.node.child, nullptr);
    ASSERT_NE(root(), nullptr);
    EXPECT_NE(root(), &own.node);
    EXPECT_EQ(std::string(root()->browseName, 256), "Self_Root" + field('\0', 247));
    EXPECT_EQ(std::string(root()->displayName, 256), "Self_Root" + field('\0', 247));
    EXPECT_EQ(std::string(root()->locale, 256), "CH" + field('\0', 254));
    EXPECT_EQ(std::string(root()->nodeId, 256), "ns=2;s=Line1" + field('\0', 244));
    EXPECT_EQ(root()->nodeClass, 0);
    EXPECT_EQ(root()->dataType, 0);
    EXPECT_EQ(root()->reservedFlag, 0);
    EXPECT_EQ(root()->arrayInfo.kind, 0);
    EXPECT_EQ(root()->arrayInfo.dimCount, 0);
    EXPECT_EQ(root()->parent, nullptr);
    EXPECT_EQ(root()->next, nullptr);
    EXPECT_THAT(childIds(root()), ElementsAre("ns=2;s=A", "ns=2;s=B"));
    EXPECT_EQ(root()->child->parent, root());
}

TEST_F(Browse, SelfRootCarriesTheParsedIdsText) {
    OwnRecord own("ns=0;i=85");
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 0);
    EXPECT_EQ(fieldText(root()->nodeId), "i=85");
}

TEST_F(Browse, SelfRootOfAnInvalidIdIsTheNullNode) {
    OwnRecord own("no node id");
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 0);
    const std::string nullText = UaNodeId().toXmlString().text();
    EXPECT_EQ(fieldText(root()->nodeId), nullText);
    EXPECT_EQ(script().requests<BrowseRequest>().at(0).nodeId, nullText);
}

TEST_F(Browse, SelfRootTakesAnIdThatFillsItsField) {
    const std::string id = "ns=2;s=" + field('x', 249);
    OwnRecord own(id);
    own.node.result = 0x41414141;
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 0);
    EXPECT_EQ(std::string(root()->nodeId, 256), id);
    EXPECT_EQ(script().requests<BrowseRequest>().at(0).nodeId, id);
}

TEST_F(Browse, FailedFirstBrowseOfANodeKeepsTheSelfRoot) {
    script().onBrowse = [](const BrowseRequest&, UaByteString&, UaReferenceDescriptions&) {
        return UaStatus(badStatus);
    };
    OwnRecord own("ns=2;s=Line1");
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 4);
    EXPECT_EQ(message(), messages::browseFailed);
    ASSERT_NE(root(), nullptr);
    EXPECT_EQ(fieldText(root()->browseName), "Self_Root");
    EXPECT_EQ(root()->child, nullptr);
}

TEST_F(Browse, SecondBrowseOfTheSameCallersRecordFindsTheSelfRoot) {
    answerReferences(twoChildren);
    OwnRecord own("ns=2;s=Line1");
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 0);
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 0);
    EXPECT_THAT(childIds(&own.node), SizeIs(2)) << "now the caller's record gets the children";
    EXPECT_THAT(childIds(root()), SizeIs(2));
}

TEST_F(Browse, ServerBrowseReplacesASelfRoot) {
    OwnRecord own("ns=2;s=Line1");
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 0);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(fieldText(root()->browseName), "Root");
    EXPECT_EQ(record_census::live(), 1);
}

TEST_F(Browse, WithoutSessionFreesTheTree) {
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(m_client->OpcUaBrowse(root()->child), 0);
    OwnRecord own("ns=2;s=A");
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
    script().forgetCalls();
    mutex_watch::forgetLocks();
    const record_census::Quarantine quarantine;
    EXPECT_EQ(m_client->OpcUaBrowse(&own.node), 3);
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_EQ(root(), nullptr);
    EXPECT_EQ(quarantine.freedOnce(), 5);
    EXPECT_EQ(quarantine.freedAgain(), 0);
    EXPECT_THAT(script().operations(), IsEmpty());
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::clientMutex));
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 3);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 3);
}

TEST_F(Browse, AfterReconnectStartsFromTheKeptTree) {
    answerReferences(twoChildren);
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
    connect();
    EXPECT_EQ(m_client->OpcUaBrowse(root()->child), 0);
    EXPECT_THAT(childIds(root()->child), SizeIs(2));
}

TEST_F(Browse, TreesAreEachClientsOwn) {
    EXPECT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    COpcUaClientInterface other;
    EXPECT_EQ(other.OpcUaReadRootNode(), nullptr);
    EXPECT_EQ(other.OpcUaBrowse(nullptr), 3);
    EXPECT_NE(root(), nullptr);
}

namespace {

/// The members that browsing is made of, called by themselves.
class BrowseMembers : public StandInTest {
protected:
    void connect() {
        _OpcUaClientConfig config = makeConfig();
        ASSERT_EQ(m_client.OpcUaConnect(config), 0);
        script().forgetCalls();
        mutex_watch::forgetLocks();
    }

    COpcUaClient m_client;
};

} // namespace

TEST_F(BrowseMembers, ContinueBrowseDoesNothing) {
    OpcUaNode node = makeNode("i=85");
    EXPECT_TRUE(m_client.ContinueBrowse(&node, nullptr));
    EXPECT_TRUE(m_client.ContinueBrowse(nullptr, nullptr));
    connect();
    EXPECT_TRUE(m_client.ContinueBrowse(&node, &node));
    EXPECT_THAT(script().operations(), IsEmpty());
    EXPECT_EQ(node.child, nullptr);
}

TEST_F(BrowseMembers, SetNodeIdParsesTheRecordsText) {
    for (const std::string& id :
         {std::string("i=85"), std::string("ns=2;s=Line1.Speed"), std::string("ns=2;b=AQID"),
          std::string("ns=1;g=09087e75-8e5e-499b-954f-f2a9603db28a")}) {
        OpcUaNode node = makeNode(id);
        UaNodeId parsed;
        EXPECT_TRUE(m_client.SetNodeID(&node, &parsed));
        EXPECT_EQ(parsed.toXmlString().text(), id);
    }
}

TEST_F(BrowseMembers, SetNodeIdReplacesWhatWasThere) {
    OpcUaNode node = makeNode("no node id");
    UaNodeId parsed(85);
    EXPECT_TRUE(m_client.SetNodeID(&node, &parsed));
    EXPECT_TRUE(parsed.isNull());
}

TEST_F(BrowseMembers, SetNodeIdReadsAFullFieldAndNoFurther) {
    const std::string id = "ns=2;s=" + field('x', 249);
    OpcUaNode node = makeNode(id);
    node.result = 0x41414141;
    UaNodeId parsed;
    EXPECT_TRUE(m_client.SetNodeID(&node, &parsed));
    EXPECT_EQ(parsed.toXmlString().text(), id);
}

TEST_F(BrowseMembers, BrowseInternalAddsBehindExistingChildrenAndTakesNoLock) {
    connect();
    script().onBrowse = answerReferences({{"ns=2;s=A", "A"}});
    OpcUaNode parent = makeNode("i=85");
    EXPECT_TRUE(m_client.browseInternal(UaNodeId(85), &parent, nullptr));
    EXPECT_TRUE(m_client.browseInternal(UaNodeId(85), &parent, &parent));
    ASSERT_NE(parent.child, nullptr);
    ASSERT_NE(parent.child->next, nullptr);
    EXPECT_EQ(parent.child->next->next, nullptr);
    EXPECT_EQ(parent.child->next->parent, &parent);
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
    COpcUaNodelist().deleteMemory(&parent.child);
}

TEST_F(BrowseMembers, BrowseInternalTellsFailure) {
    connect();
    script().onBrowse = [](const BrowseRequest&, UaByteString&, UaReferenceDescriptions&) {
        return UaStatus(badStatus);
    };
    OpcUaNode parent = makeNode("i=85");
    EXPECT_FALSE(m_client.browseInternal(UaNodeId(85), &parent, nullptr));
    EXPECT_EQ(parent.child, nullptr);
}
