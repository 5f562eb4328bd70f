#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "security/trust.h"

using namespace opcua_cli;
using testing::AllOf;
using testing::HasSubstr;

TEST(TrustDecision, AServerWithoutACertificateIsNoUntrustedOne) {
    for (const TrustRule rule : {TrustRule::Ask, TrustRule::Always, TrustRule::Never}) {
        TrustDecision decision(rule, "opc.tcp://plant:4840");
        testing::internal::CaptureStderr();
        EXPECT_EQ(decision.answer({}), OpcUaTrust_Reject);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        const std::optional<Problem> refusal = decision.refusal("");
        ASSERT_TRUE(refusal);
        EXPECT_THAT(refusal->explanation, HasSubstr("the server shows no certificate"));
        EXPECT_THAT(refusal->advice, AllOf(HasSubstr("opcua-cli discover"), HasSubstr("--policy None")));
    }
}

TEST(TrustDecision, ForThisTimeEveryServerIsAccepted) {
    TrustDecision decision(TrustRule::Once, "opc.tcp://plant:4840");
    EXPECT_EQ(decision.answer({}), OpcUaTrust_Once);
    EXPECT_FALSE(decision.refusal(""));
}
