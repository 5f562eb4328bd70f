#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "uabase/node_id.h"

namespace {

TEST(NodeId, TextRoundTrips) {
    const char* const texts[] = {
        "i=0",
        "i=84",
        "i=4294967295",
        "ns=1;i=0",
        "ns=2;s=Line1.Speed",
        "ns=65535;s=x",
        "s=in namespace 0",
        "ns=2;s=",
        "ns=3;s=a;b=c;ns=4;i=5",
        "ns=2;s= blanks kept ",
        "ns=2;s=温度/😀",
        "ns=4;g=72962b91-fa75-4ae6-8d28-b404dc7daf63",
        "g=00000000-0000-0000-0000-000000000001",
        "ns=5;b=M/RbKBsRVkePCePcx24oRA==",
        "ns=5;b=AQI=",
        "ns=5;b=AQID",
        "ns=5;b=",
    };
    for (const char* text : texts) {
        const UaNodeId id = UaNodeId::fromXmlString(text);
        EXPECT_EQ(id.toXmlString(), UaString(text));
        EXPECT_EQ(UaNodeId::fromXmlString(id.toXmlString()), id) << text;
    }
}

TEST(NodeId, NamespaceZeroMayBeSpelledOut) {
    EXPECT_EQ(UaNodeId::fromXmlString("ns=0;i=84"), UaNodeId(84));
    EXPECT_EQ(UaNodeId::fromXmlString("ns=007;i=0084"), UaNodeId(84, 7));
}

TEST(NodeId, GuidMayBeUpperCase) {
    EXPECT_EQ(UaNodeId::fromXmlString("ns=4;g=72962B91-FA75-4AE6-8D28-B404DC7DAF63"),
              UaNodeId::fromXmlString("ns=4;g=72962b91-fa75-4ae6-8d28-b404dc7daf63"));
}

TEST(NodeId, AnythingElseIsTheNullId) {
    const char* const texts[] = {
        "",
        "84",
        "i",
        "=",
        "i=",
        "i=-1",
        "i=+1",
        "i= 1",
        "i=1 ",
        "i=1;",
        "i=0x10",
        "i=4294967296",
        "i=99999999999999999999",
        "I=1",
        "x=1",
        " i=1",
        "ns=1",
        "ns=1;",
        "ns=;i=1",
        "ns=65536;i=1",
        "ns=-1;i=1",
        "ns=1 ;i=1",
        "ns=1; i=1",
        "ns=a;i=1",
        "NS=1;i=1",
        "ns=1;ns=2;i=1",
        "ns=1;i",
        "nsu=http://example.org;i=1",
        "svr=1;i=1",
        "g=",
        "g=72962b91-fa75-4ae6-8d28-b404dc7daf6",
        "g=72962b91-fa75-4ae6-8d28-b404dc7daf633",
        "g=72962b91-fa75-4ae6-8d28-b404dc7daf6g",
        "g=72962b91xfa75-4ae6-8d28-b404dc7daf63",
        "g={72962b91-fa75-4ae6-8d28-b404dc7daf6}",
        "b=A",
        "b=AQI",
        "b=A===",
        "b=====",
        "b=AQ==AQ==",
        "b=A=I=",
        "b=AQ I",
        "b=AQI_",
        "ns=2;b=é===",
    };
    for (const char* text : texts) {
        const UaNodeId id = UaNodeId::fromXmlString(text);
        EXPECT_TRUE(id.isNull()) << text;
        EXPECT_EQ(id, UaNodeId()) << text;
    }
}

TEST(NodeId, ATextMayHoldAZeroByte) {
    const UaString text(std::string("ns=2;s=a\0b", 10));
    const UaNodeId id = UaNodeId::fromXmlString(text);
    EXPECT_EQ(id.raw().identifier.string.length, 3U);
    EXPECT_EQ(id.toXmlString(), text);
}

TEST(NodeId, NullIsNamespaceZeroIdentifierZeroOnly) {
    EXPECT_TRUE(UaNodeId().isNull());
    EXPECT_EQ(UaNodeId().toXmlString(), UaString("i=0"));
    EXPECT_FALSE(UaNodeId(0, 1).isNull());
    EXPECT_FALSE(UaNodeId(84).isNull());
}

TEST(NodeId, CopiesAreDeep) {
    UaNodeId copy;
    {
        const UaNodeId original = UaNodeId::fromXmlString("ns=2;s=Line1.Speed");
        copy = original;
        EXPECT_NE(copy.raw().identifier.string.data, original.raw().identifier.string.data);
        EXPECT_EQ(UaNodeId(original), original);
        const UaNodeId fromEngine(original.raw());
        EXPECT_EQ(fromEngine, original);
    }
    EXPECT_EQ(copy.toXmlString(), UaString("ns=2;s=Line1.Speed"));
}

TEST(NodeId, AssigningToItselfKeepsTheValue) {
    UaNodeId id = UaNodeId::fromXmlString("ns=2;s=x");
    UaNodeId& alias = id;
    id = alias;
    EXPECT_EQ(id.toXmlString(), UaString("ns=2;s=x"));
    id = std::move(alias);
    EXPECT_EQ(id.toXmlString(), UaString("ns=2;s=x"));
}

TEST(NodeId, MovingTakesTheIdentifierAlong) {
    UaNodeId source = UaNodeId::fromXmlString("ns=2;s=x");
    const OpcUa_Byte* const data = source.raw().identifier.string.data;
    UaNodeId target(std::move(source));
    EXPECT_EQ(target.raw().identifier.string.data, data);
    EXPECT_TRUE(source.isNull()); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    UaNodeId assigned = UaNodeId::fromXmlString("ns=3;s=old");
    assigned = std::move(target);
    EXPECT_EQ(assigned.raw().identifier.string.data, data);
    EXPECT_TRUE(target.isNull()); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
}

TEST(NodeId, BorrowLeavesTheCharactersWhereTheyLie) {
    const std::string text = "ns=2;s=Line1.Speed";
    const UaNodeId id = UaNodeId::borrow(text);
    EXPECT_EQ(id, UaNodeId::fromXmlString(UaString(text.c_str())));
    EXPECT_EQ(static_cast<const void*>(id.raw().identifier.string.data), text.data() + 7);
}

TEST(NodeId, BorrowReadsTheOtherKindsAndRefusesTheRest) {
    EXPECT_EQ(UaNodeId::borrow("ns=3;i=7"), UaNodeId(7, 3));
    EXPECT_EQ(UaNodeId::borrow("b=AQID"), UaNodeId::fromXmlString("b=AQID"));
    for (const char* text : {"", "s", "x=1", "ns=1", "ns=x;s=a", "i=x", "b=A", "g=1"})
        EXPECT_TRUE(UaNodeId::borrow(text).isNull()) << text;
}

TEST(NodeId, ABorrowedTextWithoutCharactersIsStillThere) {
    // The engine tells an empty text from none by this pointer.
    EXPECT_EQ(UaNodeId::borrow("ns=2;s=").raw().identifier.string.data, UA_EMPTY_ARRAY_SENTINEL);
    EXPECT_EQ(UaNodeId::fromXmlString("ns=2;s=").raw().identifier.string.data, UA_EMPTY_ARRAY_SENTINEL);
}

TEST(NodeId, ACopyOfABorrowedOneOwnsItsCharacters) {
    UaNodeId copy;
    UaNodeId moved;
    std::string text = "ns=2;s=Line1.Speed";
    {
        UaNodeId id = UaNodeId::borrow(text);
        copy = id;
        moved = std::move(id);
        EXPECT_TRUE(id.isNull()); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    }
    EXPECT_EQ(static_cast<const void*>(moved.raw().identifier.string.data), text.data() + 7);
    text.assign(text.size(), '?');
    EXPECT_EQ(copy.toXmlString(), UaString("ns=2;s=Line1.Speed"));
}

TEST(NodeId, CopyToGivesTheCallerItsOwn) {
    OpcUa_NodeId copy;
    {
        const UaNodeId id = UaNodeId::fromXmlString("ns=2;s=x");
        id.copyTo(&copy);
    }
    EXPECT_EQ(UaNodeId(copy).toXmlString(), UaString("ns=2;s=x"));
    UA_clear(&copy, &UA_TYPES[UA_TYPES_NODEID]);
}

TEST(NodeId, DifferentKindsAreDifferent) {
    EXPECT_NE(UaNodeId(5, 2), UaNodeId::fromXmlString("ns=2;s=5"));
    EXPECT_NE(UaNodeId(5, 2), UaNodeId(5, 3));
    EXPECT_NE(UaNodeId::fromXmlString("ns=2;s=AQID"), UaNodeId::fromXmlString("ns=2;b=AQID"));
}

} // namespace
