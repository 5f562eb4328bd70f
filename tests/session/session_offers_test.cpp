// What a session asks for against what a server offers.
#include <string>
#include <vector>

#include "session_security_fixture.h"
#include "uapki/certificate.h"

using security_peer::Endpoint;
using security_peer::Token;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using UaClientSdk::ChannelSecurity;

namespace {

class SessionOffers : public SessionSecurityTest {
protected:
    const Token anyone{anonymous, "anyone", ""};

    /// The token policy that is chosen among these, in this order and in the reverse one.
    std::string chosenAmong(const std::vector<Endpoint>& offers) {
        const std::string forward = chosenInOrder(offers);
        const std::string backward = chosenInOrder({offers.rbegin(), offers.rend()});
        EXPECT_EQ(forward, backward);
        return forward;
    }
    std::string chosenAmong(const std::vector<Token>& tokens) {
        const std::string forward = chosenInOrder({endpoint(tokens)});
        const std::string backward = chosenInOrder({endpoint({tokens.rbegin(), tokens.rend()})});
        EXPECT_EQ(forward, backward);
        return forward;
    }

    std::string chosenInOrder(const std::vector<Endpoint>& offers) {
        createSession(offers);
        if (HasFatalFailure())
            return "refused";
        activateSession();
        return chosenToken();
    }

    /// Refused with that line, and before a key was used.
    void expectRefused(const std::vector<Endpoint>& offers, OpcUa_StatusCode status, const std::string& why) {
        EXPECT_STREQ(prepare(offers).name(), UaStatus(status).name());
        EXPECT_THAT(trace(), HasSubstr("refused by this client: " + why));
    }
};

TEST_F(SessionOffers, TheChannelIsOpenedAsAskedFor) {
    ASSERT_TRUE(prepare({endpoint({anyone})}).isGood()) << trace();
    const ChannelSecurity channel = security->channelSecurity();
    EXPECT_STREQ(channel.policy->name, "Basic256Sha256");
    EXPECT_EQ(channel.mode, signAndEncrypt);
    EXPECT_EQ(channel.ownCertificate, identity("client").certificate);
    EXPECT_EQ(channel.ownKey, &info.material().privateKey);
    EXPECT_EQ(channel.serverCertificate, identity("server").certificate);
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(SessionOffers, WithoutSecurityThereIsNothingToDecide) {
    ask("None", none);
    info.serverCertificate.clear();
    ASSERT_TRUE(prepare({}).isGood());
    const ChannelSecurity channel = security->channelSecurity();
    EXPECT_TRUE(channel.isNone());
    EXPECT_EQ(channel.mode, none);
    EXPECT_EQ(channel.ownCertificate.length() + channel.serverCertificate.length(), 0);
    EXPECT_EQ(channel.ownKey, nullptr);
}

TEST_F(SessionOffers, AChannelWithoutSecurityTakesNoCertificates) {
    ask("None", none);
    askAs(byPassword);
    ASSERT_TRUE(prepare({endpoint({{byPassword, "name", "Basic256Sha256"}})}).isGood()) << trace();
    EXPECT_EQ(security->channelSecurity().ownCertificate.length(), 0);
    EXPECT_EQ(security->channelSecurity().serverCertificate.length(), 0);
    ASSERT_TRUE(security->fill(request).isGood());
    EXPECT_EQ(request.clientCertificate.length, 0U);
}

TEST_F(SessionOffers, EachSessionHasANonceOfItsOwn) {
    createSession({endpoint({anyone})});
    EXPECT_EQ(request.clientNonce.length, 32U);
    EXPECT_EQ(UaByteString(request.clientCertificate), identity("client").certificate);
    EXPECT_EQ(UaString(request.endpointUrl), url);
    const UaByteString first(request.clientNonce);
    createSession({endpoint({anyone})});
    EXPECT_NE(UaByteString(request.clientNonce), first);
}

struct Pair {
    const char* name;
    const char* policy;
    int mode;
};

class ImpossiblePair : public SessionOffers, public testing::WithParamInterface<Pair> {
protected:
    ImpossiblePair() {
        ask(GetParam().policy, static_cast<UA_MessageSecurityMode>(GetParam().mode));
        // Whatever needs a key would fail.
        info.serverCertificate = security_peer::bytesOf("no certificate");
        info.doServerCertificateVerify = true;
    }
};

TEST_P(ImpossiblePair, IsRefusedWhereItIsOffered) {
    expectRefused({endpoint({anyone})}, UA_STATUSCODE_BADSECURITYPOLICYREJECTED,
                  std::string("the server opc.tcp://plant:4840 offers ") + GetParam().policy + " with mode ");
    EXPECT_THAT(trace(), HasSubstr("do not go together"));
    EXPECT_THAT(trace(), Not(HasSubstr("does not pass")));
}

TEST_P(ImpossiblePair, IsRefusedWhereItIsNotOffered) {
    expectRefused({{"Basic256", signOnly, {anyone}}}, UA_STATUSCODE_BADSECURITYPOLICYREJECTED,
                  std::string("the server opc.tcp://plant:4840 offers no endpoint with ") +
                      GetParam().policy + " with mode ");
    EXPECT_THAT(trace(), HasSubstr("it offers Basic256 with mode Sign"));
}

INSTANTIATE_TEST_SUITE_P(, ImpossiblePair,
                         testing::Values(Pair{"NoneSign", "None", signOnly},
                                         Pair{"NoneSignAndEncrypt", "None", signAndEncrypt},
                                         Pair{"NoneInvalid", "None", 0}, Pair{"NoneFour", "None", 4},
                                         Pair{"SecuredNone", "Basic256Sha256", none},
                                         Pair{"SecuredInvalid", "Aes256_Sha256_RsaPss", 0}),
                         [](const auto& row) { return row.param.name; });

TEST_F(SessionOffers, APolicyThatNobodyKnowsIsRefused) {
    ask("Rot13", signAndEncrypt);
    expectRefused({endpoint({anyone})}, UA_STATUSCODE_BADSECURITYPOLICYREJECTED,
                  "the server opc.tcp://plant:4840 offers Rot13 with mode SignAndEncrypt, a policy that this "
                  "client does not know");
}

TEST_F(SessionOffers, WhatIsNotOfferedIsNotReplaced) {
    expectRefused({}, UA_STATUSCODE_BADSECURITYPOLICYREJECTED,
                  "the server opc.tcp://plant:4840 offers no endpoint with Basic256Sha256 with mode "
                  "SignAndEncrypt; it offers nothing");
    expectRefused({{"Basic256Sha256", signOnly, {anyone}}, {"None", none, {anyone}}},
                  UA_STATUSCODE_BADSECURITYPOLICYREJECTED,
                  "the server opc.tcp://plant:4840 offers no endpoint with Basic256Sha256 with mode "
                  "SignAndEncrypt; it offers Basic256Sha256 with mode Sign, None with mode None");
    Endpoint elsewhere = endpoint({anyone});
    elsewhere.transport = "http://opcfoundation.org/UA-Profile/Transport/https-uabinary";
    expectRefused({elsewhere}, UA_STATUSCODE_BADSECURITYPOLICYREJECTED, "the server");
}

TEST_F(SessionOffers, NonsenseBesideAGoodEndpointIsPassedOver) {
    const Endpoint good = endpoint({{-77, "", "x:"}, anyone});
    const Endpoint empty{"", -2147483647, {}, UaByteString(), 255, "", ""};
    const Endpoint odd{
        "x:\xff\xfe", 99, {anyone, {byPassword, "", ""}}, security_peer::bytesOf("0\x82\xff\xff"), 255};
    EXPECT_EQ(chosenAmong({empty, {"None", signAndEncrypt, {anyone}}, good, odd}), "anyone");
    EXPECT_THAT(trace(), IsEmpty());
    ask("Basic256", signOnly);
    expectRefused({empty, odd}, UA_STATUSCODE_BADSECURITYPOLICYREJECTED, "the server");
}

TEST_F(SessionOffers, AUserThatIsNotAcceptedIsRefused) {
    const std::string start =
        "the server's endpoint with Basic256Sha256 with mode SignAndEncrypt accepts no ";
    expectRefused({endpoint({{byPassword, "name", ""}})}, UA_STATUSCODE_BADIDENTITYTOKENREJECTED,
                  start + "anonymous identity that this client can give");
    askAs(byPassword);
    expectRefused({endpoint({anyone, {byPassword, "name", "Rot13"}})}, UA_STATUSCODE_BADIDENTITYTOKENREJECTED,
                  start + "user name identity that this client can give");
    askAs(byCertificate);
    expectRefused({endpoint({anyone})}, UA_STATUSCODE_BADIDENTITYTOKENREJECTED,
                  start + "user certificate identity that this client can give");
}

TEST_F(SessionOffers, AUsersKeyOfAnotherPairIsRefused) {
    info.setCertificateUserIdentity(identity("user").certificate, UaByteString(identity("client").key.bytes));
    expectRefused({endpoint({{byCertificate, "card", ""}})}, UA_STATUSCODE_BADIDENTITYTOKENINVALID,
                  "the user's private key does not belong to the user certificate \"CN=user\"");
}

// ---- the server's certificate

TEST_F(SessionOffers, ACertificateThatDoesNotPassIsRefused) {
    info.doServerCertificateVerify = true;
    expectRefused({endpoint({anyone})}, UA_STATUSCODE_BADCERTIFICATEUNTRUSTED,
                  "the server's certificate \"CN=server\"");
    EXPECT_THAT(trace(), HasSubstr("does not pass verification: trust list: "));
}

TEST_F(SessionOffers, AServerWithoutCertificateIsRefusedWhereOneIsNeeded) {
    info.doServerCertificateVerify = true;
    info.serverCertificate.clear();
    askAs(byPassword);
    Endpoint bare = endpoint({{byPassword, "name", ""}});
    bare.certificate.clear();
    expectRefused({bare}, UA_STATUSCODE_BADCERTIFICATEINVALID,
                  "the server opc.tcp://plant:4840 has no certificate, and one is needed for what was asked "
                  "for: Basic256Sha256 with mode SignAndEncrypt, user name \"operator\"");
}

TEST_F(SessionOffers, AnEndpointWithAnotherCertificateIsRefused) {
    Endpoint other = endpoint({anyone});
    other.certificate = security_peer::renewedCertificate();
    expectRefused(
        {other}, UA_STATUSCODE_BADCERTIFICATEUNTRUSTED,
        "the endpoint with Basic256Sha256 with mode SignAndEncrypt has another certificate than the "
        "one that was decided on: certificate \"CN=server\"");
    // Two that are no certificates are no more the same.
    other.certificate = security_peer::bytesOf("this");
    info.serverCertificate = security_peer::bytesOf("that");
    expectRefused(
        {other}, UA_STATUSCODE_BADCERTIFICATEUNTRUSTED,
        "the endpoint with Basic256Sha256 with mode SignAndEncrypt has another certificate than the "
        "one that was decided on: no certificate");
}

TEST_F(SessionOffers, AKeyThatIsNotRsaIsRefused) {
    for (const char* kind : {"EC", "X25519", "ED25519"}) {
        for (const bool secured : {true, false}) {
            ask(secured ? "Basic256Sha256" : "None", secured ? signAndEncrypt : none);
            askAs(secured ? anonymous : byPassword);
            info.serverCertificate = security_peer::certificateWithKey(kind);
            Endpoint offer = endpoint({anyone, {byPassword, "name", "Aes256_Sha256_RsaPss"}});
            offer.certificate = info.serverCertificate;
            expectRefused({offer}, UA_STATUSCODE_BADCERTIFICATEINVALID,
                          "the server's certificate \"CN=" + std::string(kind) + "\", thumbprint ");
            EXPECT_THAT(
                trace(),
                HasSubstr(secured ? ", has no key that Basic256Sha256 with mode SignAndEncrypt can use"
                                  : ", has no key that the user token policy Aes256_Sha256_RsaPss can use"));
        }
    }
}

TEST_F(SessionOffers, WhatIsNoCertificateIsRefusedThoughAccepted) {
    info.serverCertificate = security_peer::bytesOf("no certificate");
    Endpoint offer = endpoint({anyone});
    offer.certificate = info.serverCertificate;
    expectRefused({offer}, UA_STATUSCODE_BADCERTIFICATEINVALID, "the server's no certificate");
}

TEST_F(SessionOffers, WithoutItsOwnKeyTheClientDoesNotTry) {
    security_peer::Info bare;
    bare.securityPolicyUri = info.securityPolicyUri;
    bare.messageSecurityMode = info.messageSecurityMode;
    bare.serverCertificate = info.serverCertificate;
    bare.doServerCertificateVerify = false;
    bare.offer({endpoint({anyone})});
    UaClientSdk::SessionSecurity attempt(bare, url);
    EXPECT_EQ(attempt.prepare().statusCode(), UA_STATUSCODE_BADCERTIFICATEINVALID);
    EXPECT_THAT(trace(),
                HasSubstr("refused by this client: this client has no certificate and key of its own "
                          "for Basic256Sha256 with mode SignAndEncrypt"));
}

/// A key that its policy does not allow is used once it was decided on.
TEST_F(SessionOffers, AKeyOutsideTheLimitsServesWhenItWasAccepted) {
    struct Row {
        const char* policy;
        int bits;
    };
    for (const Row& row : {Row{"Basic256Sha256", 1024}, Row{"Basic128Rsa15", 3072}}) {
        const security_peer::Identity& server = identity("server", row.bits);
        ask(row.policy, signAndEncrypt);
        askAs(byPassword);
        info.serverCertificate = server.certificate;
        Endpoint offer = endpoint({{byPassword, "name", ""}});
        offer.certificate = server.certificate;
        createSession({offer}, server);
        activateSession();
        EXPECT_EQ(chosenToken(), "name");
    }
}

TEST_F(SessionOffers, ATokenPolicyThatDemandsALongerKeyIsNotServedByAMerelyTrustedOne) {
    const security_peer::Identity& server = identity("server", 1024);
    ask("None", none);
    askAs(byPassword);
    info.serverCertificate = server.certificate;
    Endpoint offer = endpoint({{byPassword, "name", "Basic256Sha256"}});
    offer.certificate = server.certificate;
    const test_support::TemporaryDirectory store;
    const UaString trusted((store.path() / "trusted").string());
    ASSERT_TRUE(info.initializePkiProviderOpenSSL("", trusted, "", "").isGood());
    UaString name("server");
    ASSERT_TRUE(info.saveServerCertificate(name).isGood());
    info.doServerCertificateVerify = true;
    expectRefused({offer}, UA_STATUSCODE_BADCERTIFICATEPOLICYCHECKFAILED,
                  "the server's certificate \"CN=server\"");
    EXPECT_THAT(trace(),
                HasSubstr(", has a key of a length that the user token policy Basic256Sha256 does not "
                          "allow"));
    EXPECT_TRUE(info.isVerified());
    // A policy that its key is long enough for does serve, and so does that one once it is accepted.
    offer.tokens = {{byPassword, "name", "Basic256"}};
    EXPECT_TRUE(prepare({offer}).isGood()) << trace();
    offer.tokens = {{byPassword, "name", "Basic256Sha256"}};
    info.doServerCertificateVerify = false;
    EXPECT_TRUE(prepare({offer}).isGood()) << trace();
}

// ---- the choice of a token policy

TEST_F(SessionOffers, TheStrongestTokenPolicyIsChosenWhateverTheOrder) {
    for (const UA_UserTokenType type : {byPassword, byCertificate}) {
        askAs(type);
        std::vector<Token> tokens{{anonymous, "anyone", ""}, {type, "clear", "None"}};
        EXPECT_EQ(chosenAmong({tokens[0], tokens[1]}), "clear");
        for (const char* policy : {"Basic128Rsa15", "Basic256", "Basic256Sha256", "Aes128_Sha256_RsaOaep",
                                   "Aes256_Sha256_RsaPss"}) {
            tokens.push_back({type, policy, policy});
            EXPECT_EQ(chosenAmong(tokens), policy);
        }
        // Without a policy of its own it has its endpoint's.
        EXPECT_EQ(chosenAmong({{type, "weaker", "Basic128Rsa15"}, {type, "own", ""}}), "own");
        EXPECT_EQ(chosenAmong({{type, "stronger", "Aes256_Sha256_RsaPss"}, {type, "own", ""}}), "stronger");
        // One that nobody knows does not count beside one that protects, or within a channel that encrypts.
        EXPECT_EQ(chosenAmong({{type, "unknown", "Rot13"}, {type, "known", "Basic256"}}), "known");
        EXPECT_EQ(chosenAmong({{type, "unknown", "Rot13"}, {type, "clear", "None"}}), "clear");
    }
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(SessionOffers, TheStrongestTokenPolicyOfAllEndpointsIsChosen) {
    ask("None", none);
    askAs(byPassword);
    Endpoint high = endpoint({{byPassword, "clear", ""}});
    high.level = 200;
    const Endpoint low = endpoint({{byPassword, "weak", "Basic128Rsa15"}});
    const Endpoint middle = endpoint({{byPassword, "strong", "Basic256Sha256"}});
    EXPECT_EQ(chosenAmong({high, low, middle}), "strong");
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(SessionOffers, OfEqualTokenPoliciesTheOneOfTheHigherLevelIsChosen) {
    for (const UA_UserTokenType type : {anonymous, byPassword}) {
        askAs(type);
        Endpoint low = endpoint({{type, "low", ""}});
        low.level = 1;
        Endpoint high = endpoint({{type, "high", ""}});
        high.level = 2;
        EXPECT_EQ(chosenAmong({low, high}), "high");
    }
    askAs(anonymous);
    EXPECT_EQ(chosenInOrder({endpoint({{anonymous, "first", ""}, {anonymous, "second", "Basic256"}})}),
              "first");
}

TEST_F(SessionOffers, APasswordIsNotSentInClearTextWhereItCouldBeEncryptedByAnUnknownPolicy) {
    askAs(byPassword);
    const Token clear{byPassword, "clear", "None"};
    const Token unknown{byPassword, "unknown", "Rot13"};
    ask("None", none);
    expectRefused({endpoint({clear}), endpoint({unknown})}, UA_STATUSCODE_BADIDENTITYTOKENREJECTED,
                  "the password would go out in clear text, although the endpoint with None with mode None "
                  "offers to encrypt it, by a policy that this client does not know");
    ask("Basic256Sha256", signOnly);
    expectRefused({endpoint({unknown, clear})}, UA_STATUSCODE_BADIDENTITYTOKENREJECTED,
                  "the password would go out in clear text, although the endpoint with Basic256Sha256 with "
                  "mode Sign offers");
}

TEST_F(SessionOffers, APasswordThatIsToBeEncryptedNeedsACertificate) {
    ask("None", none);
    askAs(byPassword);
    info.serverCertificate.clear();
    Endpoint bare = endpoint({{byPassword, "name", "Basic256Sha256"}, {byPassword, "clear", ""}});
    bare.certificate.clear();
    expectRefused({bare}, UA_STATUSCODE_BADCERTIFICATEINVALID,
                  "the server has no certificate to encrypt the password to");
}

} // namespace
