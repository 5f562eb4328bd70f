// Browsing without end, or with what no page should hold.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "hostile/hostile_fixture.h"

using namespace scripted;

namespace {

constexpr int browseFailed = 4;

/// In an answer: behind the number of its type and its time.
constexpr std::size_t placeOfTheHandle = 4 + 8;

class Browsing : public HostileTest {
protected:
    static void fill(UA_BrowseResult& result, std::size_t references, const Bytes& continuationPoint) {
        resize(result.references, result.referencesSize, references);
        for (std::size_t i = 0; i < references; ++i) {
            result.references[i].isForward = true;
            result.references[i].nodeClass = UA_NODECLASS_OBJECT;
            UA_ExpandedNodeId_clear(&result.references[i].nodeId);
            result.references[i].nodeId.nodeId.identifier.numeric = 1000 + static_cast<std::uint32_t>(i);
            assign(result.references[i].browseName.name, "Child" + std::to_string(i));
            assign(result.references[i].displayName.text, "Child" + std::to_string(i));
        }
        assign(result.continuationPoint, continuationPoint);
        if (continuationPoint.empty())
            UA_ByteString_clear(&result.continuationPoint);
    }
    /// The first page, with more behind it.
    void beginWith(std::size_t references) {
        server.edit<UA_BrowseResponse>(
            [references](UA_BrowseResponse& response) { fill(response.results[0], references, "first"); });
    }
    /// Every further page, made once: a quarter of a million references take their time.
    void continueWith(std::size_t references) {
        server.on<UA_BrowseNextRequest>([references, page = Bytes()](const Call& call) mutable {
            if (call.request<UA_BrowseNextRequest>().releaseContinuationPoints) {
                call.answer();
                return;
            }
            if (page.empty()) {
                Owned<UA_BrowseNextResponse> response;
                resize(response->results, response->resultsSize, 1);
                fill(response->results[0], references, "more");
                page = call.bodyOf(*response);
            }
            call.answerBody(page.replace(placeOfTheHandle, 4, u32(call.handle())));
        });
    }
    /// The last request gave this continuation point back.
    void expectReleased(const std::string& continuationPoint) {
        ASSERT_GE(server.count<UA_BrowseNextRequest>(), 1);
        const Owned<UA_BrowseNextRequest> last = server.last<UA_BrowseNextRequest>();
        EXPECT_TRUE(last->releaseContinuationPoints);
        ASSERT_EQ(last->continuationPointsSize, 1U);
        const UA_ByteString& given = last->continuationPoints[0];
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(given.data), given.length), continuationPoint);
    }
    int children() {
        int count = 0;
        for (const OpcUaNode* child = client.OpcUaReadRootNode()->child; child != nullptr;
             child = child->next) {
            ++count;
        }
        return count;
    }
};

TEST_F(Browsing, TakesPageAfterPage) {
    ASSERT_EQ(connect(), 0);
    beginWith(3);
    server.edit<UA_BrowseNextResponse>([this](UA_BrowseNextResponse& response) {
        fill(response.results[0], 3, server.count<UA_BrowseNextRequest>() < 50 ? "more" : "");
    });
    EXPECT_EQ(browse(), 0);
    EXPECT_EQ(children(), 3 * 51);
    expectUnharmed();
}

TEST_F(Browsing, TakesAFewEmptyPages) {
    ASSERT_EQ(connect(), 0);
    beginWith(0);
    server.edit<UA_BrowseNextResponse>([this](UA_BrowseNextResponse& response) {
        const bool last = server.count<UA_BrowseNextRequest>() == 8;
        fill(response.results[0], last ? 2 : 0, last ? "" : "more");
    });
    EXPECT_EQ(browse(), 0);
    EXPECT_EQ(children(), 2);
}

TEST_F(Browsing, EndsEmptyPagesWithoutEnd) {
    ASSERT_EQ(connect(), 0);
    beginWith(0);
    continueWith(0);
    EXPECT_EQ(browse(), browseFailed);
    EXPECT_LE(server.count<UA_BrowseNextRequest>(), 12);
    expectReleased("more");
    expectUnharmed();
}

TEST_F(Browsing, EndsEmptyPagesWithoutEndAfterFullOnes) {
    ASSERT_EQ(connect(), 0);
    beginWith(5);
    continueWith(0);
    EXPECT_EQ(browse(), browseFailed);
    EXPECT_EQ(children(), 5);
    EXPECT_LE(server.count<UA_BrowseNextRequest>(), 12);
    expectReleased("more");
}

TEST_F(Browsing, EndsPagesWithoutEnd) {
    cap.set(std::chrono::seconds(100));
    ASSERT_EQ(connect(), 0);
    beginWith(5000);
    continueWith(5000);
    EXPECT_EQ(browse(), browseFailed);
    EXPECT_LE(children(), 250000);
    EXPECT_LE(server.count<UA_BrowseNextRequest>(), 52);
    expectReleased("more");
    expectUnharmed();
}

TEST_F(Browsing, EndsWithTooLongAPage) {
    cap.set(std::chrono::seconds(100));
    ASSERT_EQ(connect(), 0);
    server.edit<UA_BrowseResponse>(
        [](UA_BrowseResponse& response) { fill(response.results[0], 260000, "first"); });
    EXPECT_EQ(browse(), browseFailed);
    EXPECT_LE(children(), 250000);
    expectReleased("first");
    expectUnharmed();
}

TEST_F(Browsing, NeedNotReleaseWhatIsComplete) {
    ASSERT_EQ(connect(), 0);
    EXPECT_EQ(browse(), 0);
    EXPECT_EQ(server.count<UA_BrowseNextRequest>(), 0);
}

TEST_F(Browsing, EndsWithABadPage) {
    ASSERT_EQ(connect(), 0);
    beginWith(2);
    server.edit<UA_BrowseNextResponse>([](UA_BrowseNextResponse& response) {
        response.results[0].statusCode = UA_STATUSCODE_BADCONTINUATIONPOINTINVALID;
    });
    EXPECT_EQ(browse(), browseFailed);
    EXPECT_EQ(children(), 2);
    expectUnharmed();
}

TEST_F(Browsing, EndsWithABadResult) {
    ASSERT_EQ(connect(), 0);
    server.edit<UA_BrowseResponse>(
        [](UA_BrowseResponse& response) { response.results[0].statusCode = UA_STATUSCODE_BADNODEIDUNKNOWN; });
    EXPECT_EQ(browse(), browseFailed);
    expectUnharmed();
}

TEST_F(Browsing, TakesALongContinuationPoint) {
    ASSERT_EQ(connect(), 0);
    const Bytes longOne(1 << 20, 'c');
    server.edit<UA_BrowseResponse>(
        [&longOne](UA_BrowseResponse& response) { fill(response.results[0], 1, longOne); });
    EXPECT_EQ(browse(), 0);
    const Owned<UA_BrowseNextRequest> next = server.last<UA_BrowseNextRequest>();
    ASSERT_EQ(next->continuationPointsSize, 1U);
    EXPECT_EQ(next->continuationPoints[0].length, longOne.size());
    server.behave();
}

/// A child that no address space holds.
struct OddChild {
    std::string name;
    std::function<void(UA_ReferenceDescription&)> change;
};

std::ostream& operator<<(std::ostream& stream, const OddChild& child) {
    return stream << child.name;
}

const std::vector<OddChild> oddChildren{
    {"NullId", [](UA_ReferenceDescription& child) { UA_NodeId_clear(&child.nodeId.nodeId); }},
    {"OpaqueId",
     [](UA_ReferenceDescription& child) {
         UA_NodeId_clear(&child.nodeId.nodeId);
         child.nodeId.nodeId.identifierType = UA_NODEIDTYPE_BYTESTRING;
         assign(child.nodeId.nodeId.identifier.byteString, Bytes(100000, '\xFF'));
     }},
    {"LongNames",
     [](UA_ReferenceDescription& child) {
         assign(child.browseName.name, Bytes(1 << 20, 'x'));
         assign(child.displayName.text, Bytes(1 << 20, 'x'));
         assign(child.displayName.locale, Bytes(1 << 20, 'x'));
     }},
    {"BrokenUtf8",
     [](UA_ReferenceDescription& child) {
         assign(child.browseName.name, hex("C3 FF 80 F8 00 41"));
         assign(child.displayName.text, hex("C3 FF 80 F8 00 41"));
     }},
    {"NullNames",
     [](UA_ReferenceDescription& child) {
         UA_String_clear(&child.browseName.name);
         UA_String_clear(&child.displayName.text);
     }},
    {"AllClasses",
     [](UA_ReferenceDescription& child) { child.nodeClass = static_cast<UA_NodeClass>(0x7FFFFFFF); }},
    {"AnotherServer", [](UA_ReferenceDescription& child) { child.nodeId.serverIndex = 77; }},
    {"NamespaceByUri",
     [](UA_ReferenceDescription& child) { assign(child.nodeId.namespaceUri, "urn:elsewhere"); }},
    {"Inverse", [](UA_ReferenceDescription& child) { child.isForward = false; }},
};

class OddChildren : public Browsing, public testing::WithParamInterface<OddChild> {};

TEST_P(OddChildren, HarmNothing) {
    ASSERT_EQ(connect(), 0);
    server.edit<UA_BrowseResponse>(
        [](UA_BrowseResponse& response) { GetParam().change(response.results[0].references[0]); });
    EXPECT_EQ(browse(), 0);
    OpcUaNode copy = *client.OpcUaReadRootNode()->child;
    copy.child = nullptr;
    client.OpcUaBrowse(&copy); // found or not
    COpcUaNodelist().deleteMemory(&copy.child);
    expectUnharmed();
}

INSTANTIATE_TEST_SUITE_P(Each, OddChildren, testing::ValuesIn(oddChildren),
                         [](const auto& one) { return one.param.name; });

} // namespace
