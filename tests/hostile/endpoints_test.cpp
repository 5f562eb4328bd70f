// What a server announces before there is a channel, and what no client may fall for.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "hostile/secured_fixture.h"

using namespace scripted;

namespace {

constexpr int noEndpoints = 19;
constexpr auto modeNone = UA_MESSAGESECURITYMODE_NONE;
constexpr auto modeSign = UA_MESSAGESECURITYMODE_SIGN;
constexpr auto modeEncrypt = UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;

class Endpoints : public SecuredHostileTest {
protected:
    /// The only channel was the one that asked for the endpoints, and nothing was sent in another.
    void expectNoChannel() {
        EXPECT_EQ(server.count<UA_OpenSecureChannelRequest>(), 1);
        EXPECT_EQ(server.count<UA_CreateSessionRequest>(), 0);
    }
};

/// A policy and a mode that don't go together, offered and asked for.
struct Combination {
    std::string name;
    int policy;
    int mode;
};

std::ostream& operator<<(std::ostream& stream, const Combination& combination) {
    return stream << combination.name;
}

class ImpossibleEndpoint : public Endpoints, public testing::WithParamInterface<Combination> {};

TEST_P(ImpossibleEndpoint, IsRefused) {
    const Combination& combination = GetParam();
    server.offer({offer(combination.policy, static_cast<UA_MessageSecurityMode>(combination.mode + 1))},
                 usualIdentity());
    EXPECT_EQ(secureConnect(combination.policy, combination.mode), connectFailed);
    expectNoChannel();
}

TEST_P(ImpossibleEndpoint, AmongOthersIsRefused) {
    const Combination& combination = GetParam();
    server.offer({Offer(), offer(3, modeSign), offer(3, modeEncrypt),
                  offer(combination.policy, static_cast<UA_MessageSecurityMode>(combination.mode + 1))},
                 usualIdentity());
    EXPECT_EQ(secureConnect(combination.policy, combination.mode), connectFailed);
    expectNoChannel();
}

INSTANTIATE_TEST_SUITE_P(Each, ImpossibleEndpoint,
                         testing::Values(Combination{"NoneWithSign", 0, 1},
                                         Combination{"NoneWithSignAndEncrypt", 0, 2},
                                         Combination{"Basic256Sha256WithNone", 3, 0},
                                         Combination{"Aes256WithNone", 5, 0}),
                         [](const auto& one) { return one.param.name; });

/// Keys that no policy of this client can use.
class ForeignKey : public Endpoints, public testing::WithParamInterface<KeyKind> {
protected:
    static Identity foreign() {
        IdentityPlan plan;
        plan.kind = GetParam();
        return makeIdentity(plan);
    }
};

TEST_P(ForeignKey, IsRefusedThoughAccepted) {
    offerSecurity(foreign());
    for (const int mode : {1, 2})
        EXPECT_EQ(secureConnect(3, mode), connectFailed);
    EXPECT_EQ(server.count<UA_CreateSessionRequest>(), 0);
    EXPECT_EQ(secureConnects(), 2);
}

TEST_P(ForeignKey, EncryptsNoPassword) {
    Offer open;
    open.tokens = {{"encrypted", UA_USERTOKENTYPE_USERNAME, policyUri("Basic256Sha256")}};
    server.offer({open}, foreign());
    EXPECT_EQ(passwordConnect(0, 0), connectFailed);
    EXPECT_FALSE(passwordWasSent());
}

INSTANTIATE_TEST_SUITE_P(Kind, ForeignKey, testing::Values(KeyKind::P256, KeyKind::Ed25519, KeyKind::X25519));

/// Bytes in the place of a certificate.
struct Rubbish {
    std::string name;
    Bytes bytes;
};

std::ostream& operator<<(std::ostream& stream, const Rubbish& rubbish) {
    return stream << rubbish.name;
}

class RubbishCertificate : public Endpoints, public testing::WithParamInterface<Rubbish> {};

TEST_P(RubbishCertificate, IsRefusedThoughAccepted) {
    offerSecurity({GetParam().bytes, usualIdentity().privateKey, "rubbish"});
    EXPECT_NE(secureConnect(), 0);
    EXPECT_EQ(server.count<UA_CreateSessionRequest>(), 0);
}

INSTANTIATE_TEST_SUITE_P(Each, RubbishCertificate,
                         testing::Values(Rubbish{"Nothing", {}}, Rubbish{"OneByte", hex("30")},
                                         Rubbish{"Zeros", Bytes(100, '\0')},
                                         Rubbish{"EndlessSequence", hex("30 84 7FFFFFFF 02 01 01")},
                                         Rubbish{"NestedSequences", repeated(hex("30 80"), 20000)},
                                         Rubbish{"Megabyte", Bytes(1 << 20, '\x30')},
                                         Rubbish{"Text", "-----BEGIN CERTIFICATE-----\n"}),
                         [](const auto& one) { return one.param.name; });

TEST_F(Endpoints, WithACertificateThatIsCutAreRefused) {
    const Bytes whole = usualIdentity().certificate;
    for (std::size_t length = 1; length < whole.size(); length += 97) {
        offerSecurity({whole.substr(0, length), usualIdentity().privateKey, "cut"});
        EXPECT_NE(secureConnect(), 0) << length;
    }
    EXPECT_EQ(server.count<UA_CreateSessionRequest>(), 0);
}

TEST_F(Endpoints, MayBeNone) {
    server.offer({}, usualIdentity());
    EXPECT_EQ(secureConnect(), noEndpoints);
}

TEST_F(Endpoints, MayBeThousands) {
    std::vector<Offer> offers(2000, offer(1, modeSign));
    offers.push_back(offer(3, modeEncrypt));
    server.offer(offers, {usualIdentity().certificate.substr(0, 0), usualIdentity().privateKey, "none"});
    EXPECT_NE(secureConnect(), 0); // without a certificate
    server.offer({offer(3, modeEncrypt)}, usualIdentity());
    EXPECT_EQ(secureConnect(), 0);
}

TEST_F(Endpoints, MayHoldNothingButNulls) {
    offerSecurity();
    server.edit<UA_GetEndpointsResponse>([](UA_GetEndpointsResponse& response) {
        resize(response.endpoints, response.endpointsSize, 0);
        resize(response.endpoints, response.endpointsSize, 5);
    });
    EXPECT_NE(secureConnect(), 0);
    EXPECT_EQ(server.count<UA_CreateSessionRequest>(), 0);
}

TEST_F(Endpoints, WithUnknownModesAndTokensAreNotChosen) {
    offerSecurity();
    server.edit<UA_GetEndpointsResponse>([](UA_GetEndpointsResponse& response) {
        for (std::size_t i = 0; i < response.endpointsSize; ++i) {
            response.endpoints[i].securityMode = static_cast<UA_MessageSecurityMode>(77);
            response.endpoints[i].userIdentityTokens[0].tokenType = static_cast<UA_UserTokenType>(77);
        }
    });
    EXPECT_EQ(secureConnect(), connectFailed);
    expectNoChannel();
}

TEST_F(Endpoints, MayBeDiscoveredWhateverTheySay) {
    server.offer({offer(0, modeSign), offer(0, modeEncrypt), offer(3, modeNone), offer(5, modeEncrypt)},
                 {Bytes(300, '\x30'), {}, "rubbish"});
    const auto found = std::make_unique<_OpcUa_ServerConfigMsg>();
    std::string url = server.url();
    EXPECT_EQ(client.OpcUaDiscover(url.data(), *found), 0);
    EXPECT_EQ(found->servers[0].discoveryUrls[0].endpointCount, 4U);
}

/// Who the user is, over a channel without security.
class Password : public SecuredHostileTest {
protected:
    static Offer with(const std::vector<TokenOffer>& tokens) {
        Offer made;
        made.tokens = tokens;
        return made;
    }
    /// What was sent of the user.
    Owned<UA_UserNameIdentityToken> token() {
        const Owned<UA_ActivateSessionRequest> request = server.last<UA_ActivateSessionRequest>();
        Owned<UA_UserNameIdentityToken> copy;
        const UA_ExtensionObject& object = request->userIdentityToken;
        EXPECT_EQ(object.content.decoded.type, &typeOf<UA_UserNameIdentityToken>());
        if (object.content.decoded.type == &typeOf<UA_UserNameIdentityToken>())
            UA_copy(object.content.decoded.data, &*copy, &typeOf<UA_UserNameIdentityToken>());
        return copy;
    }
    static std::string text(const UA_String& field) {
        return std::string(reinterpret_cast<const char*>(field.data), field.length);
    }
    void expectEncrypted(const std::string& policyId) {
        EXPECT_FALSE(passwordWasSent());
        const Owned<UA_UserNameIdentityToken> sent = token();
        EXPECT_EQ(text(sent->policyId), policyId);
        EXPECT_EQ(text(sent->userName), "operator");
        EXPECT_NE(text(sent->encryptionAlgorithm), "");
        EXPECT_EQ(sent->password.length % 256, 0U);
    }

    const TokenOffer clear{"clear", UA_USERTOKENTYPE_USERNAME, policyUri("None")};
    const TokenOffer ofTheEndpoint{"endpoint", UA_USERTOKENTYPE_USERNAME, ""};
    const TokenOffer strong{"strong", UA_USERTOKENTYPE_USERNAME, policyUri("Basic256Sha256")};
    const TokenOffer stronger{"stronger", UA_USERTOKENTYPE_USERNAME, policyUri("Aes256_Sha256_RsaPss")};
    const TokenOffer weak{"weak", UA_USERTOKENTYPE_USERNAME, policyUri("Basic128Rsa15")};
    const TokenOffer unknown{"unknown", UA_USERTOKENTYPE_USERNAME, "urn:a:policy:of:tomorrow"};
};

TEST_F(Password, IsEncryptedWhateverStandsFirst) {
    server.offer({with({clear, strong})}, usualIdentity());
    EXPECT_EQ(passwordConnect(0, 0), 0);
    expectEncrypted("strong");
}

TEST_F(Password, IsEncryptedWithTheStrongestPolicy) {
    server.offer({with({weak, clear, stronger, strong, ofTheEndpoint, TokenOffer()})}, usualIdentity());
    EXPECT_EQ(passwordConnect(0, 0), 0);
    expectEncrypted("stronger");
}

TEST_F(Password, IsEncryptedThoughAPolicyIsUnknown) {
    server.offer({with({unknown, clear, strong})}, usualIdentity());
    EXPECT_EQ(passwordConnect(0, 0), 0);
    expectEncrypted("strong");
}

TEST_F(Password, IsNotSentForAnUnknownPolicyAlone) {
    server.offer({with({unknown})}, usualIdentity());
    EXPECT_EQ(passwordConnect(0, 0), connectFailed);
    EXPECT_FALSE(passwordWasSent());
}

TEST_F(Password, IsNotSentWhereTheServerTakesNone) {
    server.offer({with({TokenOffer()})}, usualIdentity());
    EXPECT_EQ(passwordConnect(0, 0), connectFailed);
    EXPECT_FALSE(passwordWasSent());
}

TEST_F(Password, GoesAsItIsWithAWarningWhereNothingBetterIsOffered) {
    for (const TokenOffer& only : {clear, ofTheEndpoint}) {
        server.offer({with({only})}, usualIdentity());
        client.OpcUaInit(OpcUaTraceLevel_Warnings);
        const TraceFile trace;
        EXPECT_EQ(passwordConnect(0, 0), 0);
        EXPECT_TRUE(passwordWasSent());
        EXPECT_GE(trace.linesWith("clear"), 1);
        EXPECT_EQ(trace.linesWith(password), 0);
        client.OpcUaDisConnect();
    }
}

TEST_F(Password, IsNotSentWhenGetEndpointsHidesABetterWay) {
    server.offer({with({clear, strong})}, usualIdentity());
    server.edit<UA_GetEndpointsResponse>([](UA_GetEndpointsResponse& response) {
        UA_EndpointDescription& endpoint = response.endpoints[0];
        resize(endpoint.userIdentityTokens, endpoint.userIdentityTokensSize, 1);
    });
    EXPECT_EQ(passwordConnect(0, 0), connectFailed);
    EXPECT_EQ(server.count<UA_ActivateSessionRequest>(), 0);
}

TEST_F(Password, IsNotSentWhenGetEndpointsHidesAnEndpoint) {
    server.offer({with({clear}), offer(3, modeEncrypt)}, usualIdentity());
    server.edit<UA_GetEndpointsResponse>(
        [](UA_GetEndpointsResponse& response) { resize(response.endpoints, response.endpointsSize, 1); });
    EXPECT_EQ(passwordConnect(0, 0), connectFailed);
    EXPECT_FALSE(passwordWasSent());
}

TEST_F(Password, IsNotSentWhenGetEndpointsChangesAPolicy) {
    server.offer({with({strong})}, usualIdentity());
    server.edit<UA_GetEndpointsResponse>([](UA_GetEndpointsResponse& response) {
        assign(response.endpoints[0].userIdentityTokens[0].securityPolicyUri, policyUri("None"));
    });
    EXPECT_EQ(passwordConnect(0, 0), connectFailed);
    EXPECT_FALSE(passwordWasSent());
}

TEST_F(Password, IsNotSentWhenTheSessionTellsNoEndpoints) {
    server.offer({with({clear})}, usualIdentity());
    server.edit<UA_CreateSessionResponse>([](UA_CreateSessionResponse& response) {
        resize(response.serverEndpoints, response.serverEndpointsSize, 0);
    });
    EXPECT_EQ(passwordConnect(0, 0), connectFailed);
    EXPECT_FALSE(passwordWasSent());
}

TEST_F(Password, IsNotSentOverASigningChannelWhenGetEndpointsHidesABetterWay) {
    Offer sign = offer(3, modeSign);
    sign.tokens = {clear, strong};
    server.offer({sign}, usualIdentity());
    server.edit<UA_GetEndpointsResponse>([](UA_GetEndpointsResponse& response) {
        UA_EndpointDescription& endpoint = response.endpoints[0];
        resize(endpoint.userIdentityTokens, endpoint.userIdentityTokensSize, 1);
    });
    EXPECT_EQ(passwordConnect(3, 1), connectFailed);
    EXPECT_FALSE(passwordWasSent());
}

/// A server without a certificate, over a channel without security: what the user asks for, what the
/// application answers, and what comes of it.
struct Nameless {
    std::string name;
    int identity;
    std::string tokenPolicy;
    int answer;
    int code;
};

std::ostream& operator<<(std::ostream& stream, const Nameless& row) {
    return stream << row.name;
}

constexpr int nobody = -1;
constexpr int byPassword = 1;
constexpr int byCertificate = 2;

class WithoutCertificate : public SecuredHostileTest, public testing::WithParamInterface<Nameless> {
protected:
    int connectAs(COpcUaClientInterface& user) {
        _OpcUaClientConfig config{};
        config.timeout = 10000;
        config.userIdentity = GetParam().identity;
        setField(config.endpointUrl, server.url());
        setField(config.userName, "operator");
        setField(config.password, password);
        return user.OpcUaConnect(config);
    }
};

TEST_P(WithoutCertificate, IsRefusedUnlessTheApplicationAcceptsThat) {
    const Nameless& row = GetParam();
    Offer open;
    open.tokens = {{"user",
                    row.identity == byPassword ? UA_USERTOKENTYPE_USERNAME : UA_USERTOKENTYPE_CERTIFICATE,
                    policyUri(row.tokenPolicy)}};
    server.offer({open}, {Bytes(), usualIdentity().privateKey, "nameless"});
    Operator decides(row.answer);
    COpcUaClientInterface user;
    if (row.answer != nobody)
        user.installOpcUaCallBack(&decides);
    user.OpcUaInit(OpcUaTraceLevel_Warnings);
    const TraceFile trace;
    EXPECT_EQ(connectAs(user), row.code);
    EXPECT_EQ(decides.asked, row.answer == nobody ? 0 : 1);
    EXPECT_EQ(decides.last.validFrom + decides.last.validTo + decides.last.thumbprint, "");
    EXPECT_EQ(
        trace.linesWith("refused by this client, unless the application accepts it for this connection: "
                        "the server has no certificate"),
        1);
    EXPECT_EQ(trace.linesWith("refused by the server"), 0);
    EXPECT_EQ(trace.linesWith("refused by this client: the "), row.code == 0 ? 0 : 1);
    const bool inTheClear = row.code == 0 && row.identity == byPassword;
    EXPECT_EQ(trace.linesWith("the password goes out in clear text"), inTheClear ? 1 : 0);
    EXPECT_EQ(server.count<UA_ActivateSessionRequest>(), row.code == 0 ? 1 : 0);
    EXPECT_EQ(user.OpcUaDisConnect(), row.code == 0 ? 0 : 3);
}

constexpr int notSaved = 22;
constexpr int rejected = 23;
INSTANTIATE_TEST_SUITE_P(
    Each, WithoutCertificate,
    testing::Values(
        Nameless{"ClearPasswordNobodyAsked", byPassword, "None", nobody, notSaved},
        Nameless{"ClearPasswordRejected", byPassword, "None", Operator::reject, rejected},
        Nameless{"ClearPasswordOnce", byPassword, "None", Operator::once, 0},
        Nameless{"ClearPasswordAlways", byPassword, "None", Operator::always, notSaved},
        Nameless{"PasswordNobodyAsked", byPassword, "Basic256Sha256", nobody, notSaved},
        Nameless{"PasswordRejected", byPassword, "Basic256Sha256", Operator::reject, rejected},
        Nameless{"PasswordOnce", byPassword, "Basic256Sha256", Operator::once, 1},
        Nameless{"PasswordAlways", byPassword, "Basic256Sha256", Operator::always, notSaved},
        Nameless{"CertificateNobodyAsked", byCertificate, "Basic256Sha256", nobody, notSaved},
        Nameless{"CertificateRejected", byCertificate, "Basic256Sha256", Operator::reject, rejected},
        Nameless{"CertificateOnce", byCertificate, "Basic256Sha256", Operator::once, 0},
        Nameless{"CertificateAlways", byCertificate, "Basic256Sha256", Operator::always, notSaved}),
    [](const auto& one) { return one.param.name; });

/// What a user's key signs begins with the server's certificate, or the server could have anything signed.
class SignedByTheUser : public WithoutCertificate {
protected:
    int connectTo(const Bytes& certificate, std::size_t nonceLength) {
        Offer open;
        open.tokens = {{"user", UA_USERTOKENTYPE_CERTIFICATE, policyUri("Basic256Sha256")}};
        server.offer({open}, {certificate, usualIdentity().privateKey, "odd"});
        server.edit<UA_CreateSessionResponse>([nonceLength](UA_CreateSessionResponse& response) {
            UA_ByteString_clear(&response.serverNonce);
            UA_ByteString_allocBuffer(&response.serverNonce, nonceLength);
            std::fill_n(response.serverNonce.data, nonceLength, UA_Byte{7});
        });
        Operator decides(Operator::once);
        COpcUaClientInterface user;
        user.installOpcUaCallBack(&decides);
        const int code = connectAs(user);
        EXPECT_EQ(server.count<UA_ActivateSessionRequest>(), code == 0 ? 1 : 0);
        return code;
    }
};

TEST_P(SignedByTheUser, IsNoNonceAloneThatHoldsACertificate) {
    EXPECT_EQ(connectTo(Bytes(), 129), connectFailed);
    EXPECT_EQ(connectTo(Bytes(), 128), 0);
}

TEST_P(SignedByTheUser, IsNothingThatIsNoCertificate) {
    EXPECT_EQ(connectTo(Bytes("no certificate"), 32), connectFailed);
}

INSTANTIATE_TEST_SUITE_P(Once, SignedByTheUser,
                         testing::Values(Nameless{"", byCertificate, "Basic256Sha256", Operator::once, 0}),
                         [](const auto&) { return "Asked"; });

/// What a strict server decrypts: the length, the password and its nonce, and nothing behind them (OPC UA
/// Part 4, 7.41.2.2).
class EncryptedPassword : public Password, public testing::WithParamInterface<int> {};

TEST_P(EncryptedPassword, IsFollowedByNothing) {
    const std::string& name = policies().at(static_cast<std::size_t>(GetParam()));
    const UaPkiSecurityPolicy* policy = UaPkiSecurityPolicy::find(UaString(policyUri(name)));
    ASSERT_NE(policy, nullptr);
    server.offer({with({{"token", UA_USERTOKENTYPE_USERNAME, policyUri(name)}})}, usualIdentity());
    Bytes nonce;
    server.edit<UA_CreateSessionResponse>([&nonce](UA_CreateSessionResponse& response) {
        nonce = Bytes(reinterpret_cast<const char*>(response.serverNonce.data), response.serverNonce.length);
    });
    EXPECT_EQ(passwordConnect(0, 0), 0);
    const Owned<UA_UserNameIdentityToken> sent = token();
    EXPECT_EQ(text(sent->encryptionAlgorithm), policy->asymmetricEncryptionUri);
    const std::vector<OpcUa_Byte> plain = openKey(usualIdentity(), *policy).decrypt(sent->password);
    const Bytes expected = u32(static_cast<std::uint32_t>(password.size() + nonce.size())) + password + nonce;
    EXPECT_EQ(Bytes(plain.begin(), plain.end()), expected);
    server.behave();
}

INSTANTIATE_TEST_SUITE_P(Policy, EncryptedPassword, testing::Range(1, 6));

} // namespace
