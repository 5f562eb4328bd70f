#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "channel_material.h"

using channel::policy;

namespace {

TEST(ChannelPolicy, IsFoundByItsWholeUriAlone) {
    for (const char* name : channel::protectingPolicies) {
        const UaPkiSecurityPolicy& found = policy(name);
        EXPECT_EQ(std::string(found.uri), std::string(channel::policyPrefix) + name);
        EXPECT_STREQ(found.name, name);
        EXPECT_FALSE(found.isNone());
    }
    const std::string uri = policy("Basic256").uri;
    EXPECT_EQ(UaPkiSecurityPolicy::find(""), nullptr);
    EXPECT_EQ(UaPkiSecurityPolicy::find("Basic256"), nullptr);
    EXPECT_EQ(UaPkiSecurityPolicy::find(uri + "Sha512"), nullptr);
    EXPECT_EQ(UaPkiSecurityPolicy::find(uri.substr(0, uri.size() - 1)), nullptr);
    EXPECT_EQ(UaPkiSecurityPolicy::find(uri + std::string(1, '\0')), nullptr);
    EXPECT_EQ(UaPkiSecurityPolicy::find(channel::policyPrefix + std::string("basic256")), nullptr);
}

TEST(ChannelPolicy, IsFoundByNameAndNumber) {
    EXPECT_EQ(UaPkiSecurityPolicy::numbered(0), &UaPkiSecurityPolicy::none());
    int number = 1;
    for (const char* name : channel::protectingPolicies) {
        EXPECT_EQ(UaPkiSecurityPolicy::named(name), &policy(name));
        EXPECT_EQ(UaPkiSecurityPolicy::numbered(number), &policy(name));
        EXPECT_EQ(policy(name).number, number++);
        EXPECT_EQ(std::string(UaPkiSecurityPolicy::uriPrefix) + name, policy(name).uri);
    }
    for (const int other : {-1, 6, INT_MAX, INT_MIN})
        EXPECT_EQ(UaPkiSecurityPolicy::numbered(other), nullptr);
    for (const char* other : {"", "basic256", "Basic256 ", "Basic25"})
        EXPECT_EQ(UaPkiSecurityPolicy::named(other), nullptr);
}

TEST(ChannelPolicy, NoneProtectsNothing) {
    const UaPkiSecurityPolicy& none = UaPkiSecurityPolicy::none();
    EXPECT_EQ(UaPkiSecurityPolicy::find(none.uri), &none);
    EXPECT_STREQ(none.name, "None");
    EXPECT_TRUE(none.isNone());
    EXPECT_EQ(none.signatureLength + none.encryptionKeyLength + none.nonceLength, 0U);
}

TEST(ChannelPolicy, EachIsStrongerThanTheOneBefore) {
    int strength = UaPkiSecurityPolicy::none().strength;
    for (const char* name : channel::protectingPolicies) {
        EXPECT_GT(policy(name).strength, strength) << name;
        strength = policy(name).strength;
    }
}

// OPC UA Part 7, 6.6; the engine judges the same in ChannelAgainstEngine.
TEST(ChannelPolicy, NamesItsAlgorithms) {
    auto algorithms = [](const char* name) {
        return std::string(policy(name).asymmetricSignatureUri) + ' ' + policy(name).asymmetricEncryptionUri;
    };
    EXPECT_EQ(algorithms("Basic128Rsa15"),
              "http://www.w3.org/2000/09/xmldsig#rsa-sha1 http://www.w3.org/2001/04/xmlenc#rsa-1_5");
    EXPECT_EQ(algorithms("Basic256"),
              "http://www.w3.org/2000/09/xmldsig#rsa-sha1 http://www.w3.org/2001/04/xmlenc#rsa-oaep");
    for (const char* name : {"Basic256Sha256", "Aes128_Sha256_RsaOaep"}) {
        EXPECT_EQ(algorithms(name), "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256 "
                                    "http://www.w3.org/2001/04/xmlenc#rsa-oaep");
    }
    EXPECT_EQ(algorithms("Aes256_Sha256_RsaPss"), "http://opcfoundation.org/UA/security/rsa-pss-sha2-256 "
                                                  "http://opcfoundation.org/UA/security/rsa-oaep-sha2-256");
}

} // namespace
