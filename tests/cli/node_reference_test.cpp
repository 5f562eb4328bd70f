#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "addressing/node_reference.h"
#include "failure.h"

using namespace opcua_cli;
using testing::HasSubstr;

namespace {

std::string nodeId(const std::string& text) {
    return std::get<std::string>(parseNodeReference(text));
}

/// The steps as "2:Plant" or "Plant".
std::vector<std::string> steps(const std::string& text) {
    std::vector<std::string> result;
    const auto path = std::get<NodePath>(parseNodeReference(text));
    for (const PathStep& step : path)
        result.push_back((step.namespaceIndex ? std::to_string(*step.namespaceIndex) + ":" : "") + step.name);
    return result;
}

Problem refusal(const std::string& text) {
    try {
        parseNodeReference(text);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exitCode(), ExitCode::Usage);
        return failure.problem();
    }
    ADD_FAILURE() << text << " was taken";
    return {};
}

PathStep onlyStep(const std::string& text) {
    return std::get<NodePath>(parseNodeReference(text)).at(0);
}

} // namespace

TEST(NodeReference, TakesNodeIdsInTheLibrarysForm) {
    EXPECT_EQ(nodeId("i=2261"), "i=2261");
    EXPECT_EQ(nodeId("ns=0;i=0085"), "i=85");
    EXPECT_EQ(nodeId("ns=2;s=Line1.Speed"), "ns=2;s=Line1.Speed");
    EXPECT_EQ(nodeId("s=a;b=c"), "s=a;b=c");
    EXPECT_EQ(nodeId("ns=3;g=09087E75-8E5E-499B-954F-F2A9603DB28A"),
              "ns=3;g=09087e75-8e5e-499b-954f-f2a9603db28a");
    EXPECT_EQ(nodeId("ns=4;b=M/RbKBsRVkePCePcx24oRA=="), "ns=4;b=M/RbKBsRVkePCePcx24oRA==");
    EXPECT_EQ(nodeId("ns=2;s=" + std::string(248, 'x')).size(), 255u);
}

TEST(NodeReference, SaysWhyANodeIdIsNone) {
    EXPECT_THAT(refusal("Line1.Speed").explanation, HasSubstr("begins with none of"));
    EXPECT_THAT(refusal("").explanation, HasSubstr("begins with none of"));
    EXPECT_THAT(refusal("x=5").explanation, HasSubstr("begins with none of"));
    EXPECT_THAT(refusal("ns=2").explanation, HasSubstr("semicolon"));
    EXPECT_THAT(refusal("ns=65536;i=1").explanation, HasSubstr("65535"));
    EXPECT_THAT(refusal("ns=-1;i=1").explanation, HasSubstr("65535"));
    EXPECT_THAT(refusal("i=4294967296").explanation, HasSubstr("4294967295"));
    EXPECT_THAT(refusal("i=").explanation, HasSubstr("4294967295"));
    EXPECT_THAT(refusal("i=1x").explanation, HasSubstr("4294967295"));
    EXPECT_THAT(refusal("s=").explanation, HasSubstr("nothing follows"));
    EXPECT_THAT(refusal("g=09087e75").explanation, HasSubstr("GUID"));
    EXPECT_THAT(refusal("b=a").explanation, HasSubstr("Base64"));
    EXPECT_THAT(refusal("b====").explanation, HasSubstr("Base64"));
    EXPECT_THAT(refusal("b=a=bc").explanation, HasSubstr("Base64"));
    EXPECT_THAT(refusal("ns=2;s=" + std::string(249, 'x')).explanation, HasSubstr("255 bytes"));
    EXPECT_THAT(refusal("Line1.Speed").advice, HasSubstr("ns=2;s=Line1.Speed"));
}

TEST(NodeReference, TakesPaths) {
    using testing::ElementsAre;
    EXPECT_THAT(steps("/Objects/2:Plant/Line1"), ElementsAre("Objects", "2:Plant", "Line1"));
    EXPECT_THAT(steps("/2:12:30"), ElementsAre("2:12:30"));
    EXPECT_THAT(steps("/a:b"), ElementsAre("a:b"));
    EXPECT_THAT(steps("/99999:b"), ElementsAre("99999:b"));
    EXPECT_THAT(steps("/in&/out/a&&b/1&:2"), ElementsAre("in/out", "a&b", "1:2"));
    EXPECT_THAT(steps("/液位/温度"), ElementsAre("液位", "温度"));
}

TEST(NodeReference, RefusesEmptyNames) {
    for (const char* text : {"/", "//", "/a/", "/a//b", "/2:"})
        EXPECT_THAT(refusal(text).explanation, HasSubstr("is empty")) << text;
}

TEST(NodeReference, StepsMatchBrowseNames) {
    EXPECT_TRUE(matches(onlyStep("/Speed"), "2:Speed"));
    EXPECT_TRUE(matches(onlyStep("/2:Speed"), "2:Speed"));
    EXPECT_FALSE(matches(onlyStep("/3:Speed"), "2:Speed"));
    EXPECT_FALSE(matches(onlyStep("/Spee"), "2:Speed"));
    EXPECT_FALSE(matches(onlyStep("/speed"), "2:Speed"));
    EXPECT_TRUE(matches(onlyStep("/0:Objects"), "Objects"));
    EXPECT_TRUE(matches(onlyStep("/0:Objects"), "0:Objects"));
    EXPECT_TRUE(matches(onlyStep("/2:12:30"), "2:12:30"));
}

TEST(NodeReference, StepTextsAreReadBack) {
    for (const char* browseName :
         {"2:Speed", "0:Objects", "2:in/out", "2:a&b", "0:12:30", "3:5:x", "2::", "2:a:b"}) {
        const std::string text = pathStepText(browseName);
        EXPECT_EQ(std::get<NodePath>(parseNodeReference(text)).size(), 1u) << text;
        EXPECT_TRUE(matches(onlyStep(text), browseName)) << text;
    }
    EXPECT_EQ(pathStepText("0:Objects"), "/Objects");
    EXPECT_EQ(pathStepText("2:Speed"), "/2:Speed");
    EXPECT_EQ(pathStepText("2:in/out"), "/2:in&/out");
}
