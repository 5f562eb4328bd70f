#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "address.h"
#include "reasons.h"

using namespace opcua_cli;
using testing::HasSubstr;

namespace {

const std::string url = "opc.tcp://plant:4841/path";
const std::string refused =
    "refused by the server " + url + " while opening the secure channel: BadConnectionClosed";

Problem connectProblem(const std::vector<std::string>& texts) {
    Problem problem{"the server could not be connected"};
    explainConnect(problem, texts, url);
    return problem;
}

std::string nodeProblem(const std::vector<std::string>& texts, const std::string& nodeId) {
    Problem problem{"the value could not be read"};
    explainNode(problem, texts, nodeId);
    return problem.explanation;
}

std::string lossProblem(const std::vector<std::string>& texts) {
    Problem problem{"the connection to the server is lost"};
    explainLoss(problem, texts);
    return problem.explanation;
}

} // namespace

TEST(Address, IsHostAndPort) {
    const auto text = [](const char* of) {
        const Address address = addressIn(of);
        return address.host + " " + address.port;
    };
    EXPECT_EQ(text("opc.tcp://plant:4841/path:1"), "plant 4841");
    EXPECT_EQ(text("opc.tcp://plant"), "plant 4840");
    EXPECT_EQ(text("opc.tcp://[::1]:7/"), "::1 7");
    EXPECT_EQ(text("opc.tcp://[fe80::1]"), "fe80::1 4840");
    EXPECT_EQ(text(""), " 4840");
}

TEST(Reasons, NameHostAndPort) {
    const Problem problem = connectProblem({url + " at address 10.0.0.7: BadConnectionRejected"});
    EXPECT_EQ(problem.explanation, "nothing listens on port 4841 of plant (BadConnectionRejected)");
    EXPECT_TRUE(problem.canPass);
}

TEST(Reasons, OfSeveralTheLastCounts) {
    const Problem problem = connectProblem(
        {url + " at address 10.0.0.7: BadConnectionRejected", url + " at address 10.0.0.8: BadTimeout"});
    EXPECT_THAT(problem.explanation, HasSubstr("did not answer in time"));
}

TEST(Reasons, AServerThatHangsUpMayBeStartingUnlessItWasShownACertificate) {
    EXPECT_TRUE(connectProblem({refused}).canPass);
    const Problem problem =
        connectProblem({refused + "; asked for X; does the server trust this client's own Y?"});
    EXPECT_FALSE(problem.canPass);
    EXPECT_THAT(problem.explanation, HasSubstr("do not trust this client's certificate"));
}

TEST(Reasons, AServerThatTellsOfATimeOutHasAnswered) {
    const Problem problem =
        connectProblem({url + " at address 10.0.0.7: BadTimeout",
                        "refused by the server " + url + " while opening the secure channel: BadTimeout"});
    EXPECT_EQ(problem.explanation, "plant answers that something took it too long (BadTimeout)");
    EXPECT_TRUE(problem.canPass);
}

TEST(Reasons, AResolverThatIsDownIsNoUnknownName) {
    EXPECT_EQ(connectProblem({"the host name \"plant\" does not resolve: Name or service not known "
                              "(BadNotFound)"})
                  .explanation,
              "the name plant does not resolve (BadNotFound)");
    EXPECT_EQ(connectProblem({"the host name \"plant\" does not resolve: Temporary failure in name "
                              "resolution (BadCommunicationError)"})
                  .explanation,
              "the name plant does not resolve: this machine cannot look it up now");
}

TEST(Reasons, WhatIsNotKnownIsShownAsItIs) {
    EXPECT_EQ(connectProblem({"refused by this client: the nonce is short", "something else"}).explanation,
              "the server could not be connected: refused by this client: the nonce is short");
    EXPECT_EQ(connectProblem({}).explanation, "the server could not be connected");
    EXPECT_EQ(nodeProblem({"i=1 is not read: BadStrange: ask less"}, "i=1"),
              "the value could not be read: BadStrange: ask less");
}

TEST(Reasons, AreForOneNodeEach) {
    const std::vector<std::string> texts{"i=1 is not read: BadNodeIdUnknown",
                                         "i=11 is not read: BadNotReadable"};
    EXPECT_THAT(nodeProblem(texts, "i=1"), HasSubstr("no such node"));
    EXPECT_THAT(nodeProblem(texts, "i=11"), HasSubstr("nobody"));
    EXPECT_THAT(nodeProblem(texts, ""), HasSubstr("nobody"));
    EXPECT_EQ(nodeProblem(texts, "i=2"), "the value could not be read");
}

TEST(Reasons, OfAWholeRequestAreForEachOfItsNodes) {
    EXPECT_EQ(
        nodeProblem({"read of 20 nodes from i=1 on failed: BadTooManyOperations: ask for fewer"}, "i=7"),
        "the value could not be read: BadTooManyOperations: ask for fewer");
}

TEST(Reasons, OfALossTellWhoEndedIt) {
    EXPECT_THAT(lossProblem({"connection lost: BadConnectionClosed"}),
                HasSubstr("has closed the connection"));
    EXPECT_THAT(lossProblem({"no sign of the server for 5003 ms"}), HasSubstr("does not answer any more"));
    EXPECT_EQ(lossProblem({"connection lost: BadSecureChannelClosed"}),
              "the connection to the server is lost: BadSecureChannelClosed");
    EXPECT_EQ(lossProblem({}), "the connection to the server is lost");
}

TEST(Reasons, TellWhatIsWrongWithACertificate) {
    EXPECT_EQ(certificateDefect({"the server's certificate does not pass: validity: it has expired; "
                                 "certificate \"CN=Press 4\", thumbprint 12 (BadCertificateTimeInvalid)"}),
              "validity: it has expired");
    EXPECT_EQ(certificateDefect({"i=1 is not read: BadStrange"}), "");
}
