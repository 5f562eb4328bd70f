#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OpcUaHelpers.h"
#include "failure.h"
#include "security/names.h"
#include "security/options.h"
#include "uapki/security_policy.h"

using namespace opcua_cli;
using testing::HasSubstr;

namespace {

constexpr int basic256 = 2;
constexpr int aes128 = 4;
constexpr int aes256 = 5;

struct Row {
    std::optional<int> policy;
    std::optional<int> mode;
    bool user;
    int usedPolicy;
    int usedMode;
};

void expectRefusal(const SecurityOptions& options, const std::string& explanation) {
    try {
        securityFor(options);
        ADD_FAILURE() << "no refusal: " << explanation;
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exitCode(), ExitCode::Usage);
        EXPECT_THAT(failure.problem().explanation, HasSubstr(explanation));
    }
}

/// The tool stands on the library's public headers and has names of its own for what the library numbers.
TEST(Names, OfPoliciesAreThoseOfTheLibrarysTable) {
    int number = 0;
    std::string names;
    const UaPkiSecurityPolicy* policy = nullptr;
    for (; (policy = UaPkiSecurityPolicy::numbered(number)) != nullptr; ++number) {
        EXPECT_EQ(policyName(number, policy->isNone() ? OpcUaSecurityMode_None : OpcUaSecurityMode_Sign),
                  policy->name);
        EXPECT_EQ(policyFromName(policy->uri), number);
        names += (number > 0 ? ", " : "") + std::string(policy->name);
    }
    EXPECT_EQ(number, 6);
    EXPECT_EQ(policyNames(), names);
}

} // namespace

TEST(SecurityNames, PoliciesAreTakenAsUsersWriteThem) {
    EXPECT_EQ(policyFromName("None"), OpcUaSecurityPolicy_None);
    EXPECT_EQ(policyFromName("basic256"), basic256);
    EXPECT_EQ(policyFromName("BASIC256SHA256"), OpcUaSecurityPolicy_Basic256Sha256);
    EXPECT_EQ(policyFromName("aes128"), aes128);
    EXPECT_EQ(policyFromName("Aes128-Sha256-RsaOaep"), aes128);
    EXPECT_EQ(policyFromName("Aes256Sha256RsaPss"), aes256);
    EXPECT_EQ(policyFromName("http://opcfoundation.org/UA/SecurityPolicy#Aes256_Sha256_RsaPss"), aes256);
    for (const char* name : {"", "Basic", "Basic256Sha", "Aes", "http://opcfoundation.org/UA/SecurityPolicy"})
        EXPECT_EQ(policyFromName(name), std::nullopt) << name;
}

TEST(SecurityNames, ModesAreTakenAsUsersWriteThem) {
    EXPECT_EQ(modeFromName("none"), OpcUaSecurityMode_None);
    EXPECT_EQ(modeFromName("SIGN"), OpcUaSecurityMode_Sign);
    EXPECT_EQ(modeFromName("sign-and-encrypt"), OpcUaSecurityMode_SignAndEncrypt);
    for (const char* name : {"", "encrypt", "sign and encrypt"})
        EXPECT_EQ(modeFromName(name), std::nullopt) << name;
}

TEST(SecurityNames, EveryNumberHasTheNameThatIsTaken) {
    for (int policy = 0; policy <= aes256; ++policy)
        EXPECT_EQ(
            policyFromName(policyName(policy, policy == 0 ? OpcUaSecurityMode_None : OpcUaSecurityMode_Sign)),
            policy);
    for (int mode = 0; mode <= OpcUaSecurityMode_SignAndEncrypt; ++mode)
        EXPECT_EQ(modeFromName(modeName(mode)), mode);
    EXPECT_EQ(policyName(6, OpcUaSecurityMode_Sign), "unknown");
    EXPECT_EQ(policyName(OpcUaSecurityPolicy_None, OpcUaSecurityMode_Sign), "unknown");
    EXPECT_EQ(modeName(-1), "unknown");
}

TEST(SecurityOptions, WhatIsLeftOpenIsChosenSafely) {
    const std::vector<Row> rows{
        {{}, {}, false, OpcUaSecurityPolicy_None, OpcUaSecurityMode_None},
        {{}, {}, true, OpcUaSecurityPolicy_Basic256Sha256, OpcUaSecurityMode_SignAndEncrypt},
        {aes128, {}, false, aes128, OpcUaSecurityMode_SignAndEncrypt},
        {{}, OpcUaSecurityMode_Sign, false, OpcUaSecurityPolicy_Basic256Sha256, OpcUaSecurityMode_Sign},
        {aes256, OpcUaSecurityMode_Sign, true, aes256, OpcUaSecurityMode_Sign},
        {OpcUaSecurityPolicy_None, {}, true, OpcUaSecurityPolicy_None, OpcUaSecurityMode_None},
        {{}, OpcUaSecurityMode_None, true, OpcUaSecurityPolicy_None, OpcUaSecurityMode_None},
        {OpcUaSecurityPolicy_None, OpcUaSecurityMode_None, false, OpcUaSecurityPolicy_None,
         OpcUaSecurityMode_None},
    };
    for (const Row& row : rows) {
        SecurityOptions options;
        options.policy = row.policy;
        options.mode = row.mode;
        if (row.user)
            options.user = "operator";
        const Security security = securityFor(options);
        EXPECT_EQ(security.policy, row.usedPolicy) << security.text();
        EXPECT_EQ(security.mode, row.usedMode) << security.text();
        EXPECT_EQ(security.identity, row.user ? OpcUaUserIdentity_UserName : OpcUaUserIdentity_Anonymous);
        EXPECT_EQ(security.user, row.user ? "operator" : "");
    }
}

TEST(SecurityOptions, TheCertificateOfTheLibraryMayHaveAUsersName) {
    SecurityOptions options;
    options.userCertificate = "default";
    options.user = "operator";
    const Security security = securityFor(options);
    EXPECT_EQ(security.identity, OpcUaUserIdentity_Certificate);
    EXPECT_EQ(security.user, "operator");
    EXPECT_EQ(security.userCertificate.certificate, "");
    EXPECT_EQ(security.mode, OpcUaSecurityMode_SignAndEncrypt);
}

TEST(SecurityOptions, WhatDoesNotGoTogetherIsRefused) {
    SecurityOptions options;
    options.mode = OpcUaSecurityMode_Sign;
    options.policy = OpcUaSecurityPolicy_None;
    expectRefusal(options, "policy None");
    options.policy = basic256;
    options.mode = OpcUaSecurityMode_None;
    expectRefusal(options, "Basic256 needs a mode");
    options = {};
    options.password = "plant";
    expectRefusal(options, "--password without a user");
    options = {};
    options.user = "";
    expectRefusal(options, "the user name is empty");
    options.user = std::string(64, 'u');
    expectRefusal(options, "longer than 63 bytes");
}

TEST(SecurityOptions, UserCertificatesThatMakeNoSenseAreRefused) {
    SecurityOptions options;
    options.userCertificate = "user.der";
    expectRefusal(options, "belong together");
    options.userKey = "user.pem";
    expectRefusal(options, "cannot read user.der");
    options.user = "operator";
    expectRefusal(options, "is in the certificate");
    options = {};
    options.userKey = "user.pem";
    expectRefusal(options, "belong together");
    options.userCertificate = "default";
    expectRefusal(options, "belong together");
    options = {};
    options.userCertificate = "default";
    options.user = "operator";
    options.password = "plant";
    expectRefusal(options, "not with both");
}
