#include <optional>
#include <string>
#include <vector>

#include "failure.h"
#include "security/names.h"
#include "security/options.h"
#include "uapki/security_policy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
    for (; const UaPkiSecurityPolicy* policy = UaPkiSecurityPolicy::numbered(number); ++number) {
        EXPECT_EQ(policyName(number, policy->isNone() ? ModeNone : ModeSign), policy->name);
        EXPECT_EQ(policyFromName(policy->uri), number);
        names += (number > 0 ? ", " : "") + std::string(policy->name);
    }
    EXPECT_EQ(number, 6);
    EXPECT_EQ(policyNames(), names);
}

} // namespace

TEST(SecurityNames, PoliciesAreTakenAsUsersWriteThem) {
    EXPECT_EQ(policyFromName("None"), PolicyNone);
    EXPECT_EQ(policyFromName("basic256"), basic256);
    EXPECT_EQ(policyFromName("BASIC256SHA256"), PolicyBasic256Sha256);
    EXPECT_EQ(policyFromName("aes128"), aes128);
    EXPECT_EQ(policyFromName("Aes128-Sha256-RsaOaep"), aes128);
    EXPECT_EQ(policyFromName("Aes256Sha256RsaPss"), aes256);
    EXPECT_EQ(policyFromName("http://opcfoundation.org/UA/SecurityPolicy#Aes256_Sha256_RsaPss"), aes256);
    for (const char* name : {"", "Basic", "Basic256Sha", "Aes", "http://opcfoundation.org/UA/SecurityPolicy"})
        EXPECT_EQ(policyFromName(name), std::nullopt) << name;
}

TEST(SecurityNames, ModesAreTakenAsUsersWriteThem) {
    EXPECT_EQ(modeFromName("none"), ModeNone);
    EXPECT_EQ(modeFromName("SIGN"), ModeSign);
    EXPECT_EQ(modeFromName("sign-and-encrypt"), ModeSignAndEncrypt);
    for (const char* name : {"", "encrypt", "sign and encrypt"})
        EXPECT_EQ(modeFromName(name), std::nullopt) << name;
}

TEST(SecurityNames, EveryNumberHasTheNameThatIsTaken) {
    for (int policy = 0; policy <= aes256; ++policy)
        EXPECT_EQ(policyFromName(policyName(policy, policy == 0 ? ModeNone : ModeSign)), policy);
    for (int mode = 0; mode <= ModeSignAndEncrypt; ++mode)
        EXPECT_EQ(modeFromName(modeName(mode)), mode);
    EXPECT_EQ(policyName(6, ModeSign), "unknown");
    EXPECT_EQ(policyName(PolicyNone, ModeSign), "unknown");
    EXPECT_EQ(modeName(-1), "unknown");
}

TEST(SecurityOptions, WhatIsLeftOpenIsChosenSafely) {
    const std::vector<Row> rows{
        {{}, {}, false, PolicyNone, ModeNone},
        {{}, {}, true, PolicyBasic256Sha256, ModeSignAndEncrypt},
        {aes128, {}, false, aes128, ModeSignAndEncrypt},
        {{}, ModeSign, false, PolicyBasic256Sha256, ModeSign},
        {aes256, ModeSign, true, aes256, ModeSign},
        {PolicyNone, {}, true, PolicyNone, ModeNone},
        {{}, ModeNone, true, PolicyNone, ModeNone},
        {PolicyNone, ModeNone, false, PolicyNone, ModeNone},
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
        EXPECT_EQ(security.identity, row.user ? IdentityUserName : IdentityAnonymous);
        EXPECT_EQ(security.user, row.user ? "operator" : "");
    }
}

TEST(SecurityOptions, TheCertificateOfTheLibraryMayHaveAUsersName) {
    SecurityOptions options;
    options.userCertificate = "default";
    options.user = "operator";
    const Security security = securityFor(options);
    EXPECT_EQ(security.identity, IdentityCertificate);
    EXPECT_EQ(security.user, "operator");
    EXPECT_EQ(security.userCertificate.certificate, "");
    EXPECT_EQ(security.mode, ModeSignAndEncrypt);
}

TEST(SecurityOptions, WhatDoesNotGoTogetherIsRefused) {
    SecurityOptions options;
    options.mode = ModeSign;
    options.policy = PolicyNone;
    expectRefusal(options, "policy None");
    options.policy = basic256;
    options.mode = ModeNone;
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
