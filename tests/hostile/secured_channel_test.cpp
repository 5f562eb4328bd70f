// Channels with a policy: nonces, tokens, damaged chunks, long certificates.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "hostile/secured_fixture.h"

using namespace scripted;

namespace {

constexpr auto modeEncrypt = UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;

class SecuredChannel : public SecuredHostileTest {
protected:
    void expectGoodRead() {
        std::int32_t value = 0;
        EXPECT_EQ(read(value), 0);
        EXPECT_EQ(value, 42);
        EXPECT_EQ(status(), connected);
    }
    void revise(std::uint32_t lifetime) {
        server.edit<UA_OpenSecureChannelResponse>([lifetime](UA_OpenSecureChannelResponse& response) {
            response.securityToken.revisedLifetime = lifetime;
        });
    }
    enum class AfterThreeRenewals { FirstToken, FirstTokenWithNewestKeys };
    /// Tokens of a second, and an answer that is protected like this when the first is long over.
    void expectRefused(AfterThreeRenewals protection) {
        offerSecurity();
        revise(1000);
        ASSERT_EQ(secureConnect(), 0);
        const std::uint32_t first = server.connection()->tokenId();
        ASSERT_TRUE(waitForRenewals(3));
        server.on<UA_ReadRequest>([first, protection](const Call& call) {
            Chunk chunk = call.chunk('F', call.usualBody());
            chunk.tokenId = first;
            chunk.newestKeys = protection == AfterThreeRenewals::FirstTokenWithNewestKeys;
            call.connection().send(chunk);
        });
        EXPECT_NE(read(), 0);
        expectLost();
    }
    /// Renewals of the session's channel; another one was opened before to ask for endpoints.
    bool waitForRenewals(int count) { return server.waitForCount<UA_OpenSecureChannelRequest>(count + 2); }
};

/// Every policy with both modes.
class EachPolicy : public SecuredChannel, public testing::WithParamInterface<std::tuple<int, int>> {};

TEST_P(EachPolicy, ServesAConnection) {
    const auto [policy, mode] = GetParam();
    server.offer({offer(policy, static_cast<UA_MessageSecurityMode>(mode + 1))}, usualIdentity());
    ASSERT_EQ(secureConnect(policy, mode), 0);
    expectGoodRead();
    EXPECT_EQ(writeText(std::string(300000, 'x')), 0);
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
}

TEST_P(EachPolicy, LivesWithTokensOfTwoSeconds) {
    const auto [policy, mode] = GetParam();
    server.offer({offer(policy, static_cast<UA_MessageSecurityMode>(mode + 1))}, usualIdentity());
    revise(2000);
    secureMonitor(policy, mode);
    ASSERT_TRUE(waitForRenewals(2));
    server.publisher().publish(43);
    EXPECT_TRUE(waitForValue(43));
    expectGoodRead();
}

TEST_P(EachPolicy, TakesAnAnswerUnderTheOldToken) {
    const auto [policy, mode] = GetParam();
    server.offer({offer(policy, static_cast<UA_MessageSecurityMode>(mode + 1))}, usualIdentity());
    revise(2000);
    secureMonitor(policy, mode);
    ASSERT_TRUE(server.publisher().waitForWaiting(1));
    server.answerUnderTheRequestsToken(true);
    ASSERT_TRUE(waitForRenewals(1));
    server.publisher().publish(43);
    EXPECT_TRUE(waitForValue(43));
    expectGoodRead();
}

std::string policyName(const testing::TestParamInfo<std::tuple<int, int>>& info) {
    const std::vector<std::string> names{"None",           "Basic128Rsa15", "Basic256",
                                         "Basic256Sha256", "Aes128",        "Aes256"};
    return names.at(static_cast<std::size_t>(std::get<0>(info.param))) +
           (std::get<1>(info.param) == 1 ? "Sign" : "SignAndEncrypt");
}

INSTANTIATE_TEST_SUITE_P(Each, EachPolicy, testing::Combine(testing::Range(1, 6), testing::Values(1, 2)),
                         policyName);

TEST_F(SecuredChannel, LivesWithAServerThatAlwaysUsesTheTokenOfTheRequest) {
    offerSecurity();
    revise(2000);
    server.answerUnderTheRequestsToken(true);
    secureMonitor();
    for (int renewal = 1; renewal <= 3; ++renewal) {
        ASSERT_TRUE(waitForRenewals(renewal));
        server.publisher().publish(100 + renewal);
        EXPECT_TRUE(waitForValue(100 + renewal));
    }
    expectGoodRead();
}

/// A Publish request whose token's time is over when it is answered.
class LateAnswer : public EachPolicy {
protected:
    void ask() {
        const auto [policy, mode] = GetParam();
        server.offer({offer(policy, static_cast<UA_MessageSecurityMode>(mode + 1))}, usualIdentity());
        revise(1000);
        secureMonitor(policy, mode);
        m_waiting = server.publisher().takeRequest();
        ASSERT_TRUE(m_waiting);
        ASSERT_TRUE(waitForRenewals(4));
    }
    /// An answer that names its request's token.
    Chunk answer() {
        const std::uint32_t handle = server.publisher().items().at(0).clientHandle;
        Chunk chunk = m_waiting->chunk('F', m_waiting->bodyOf(*Publisher::dataChange(
                                                server.publisher().subscriptionId(), 2, {{handle, 77}})));
        chunk.tokenId = m_waiting->tokenId();
        return chunk;
    }
    void answerWithKeysOf(std::uint32_t tokenId) {
        Chunk chunk = answer();
        chunk.keysOf = tokenId;
        m_waiting->connection().send(chunk);
    }
    void answerWithTheNewestKeys() {
        Chunk chunk = answer();
        chunk.newestKeys = true;
        m_waiting->connection().send(chunk);
    }

    std::optional<Call> m_waiting;
};

TEST_P(LateAnswer, MayNameTheTokenOfItsRequestUnderTheNewestKeys) {
    ask();
    answerWithTheNewestKeys();
    EXPECT_TRUE(waitForValue(77));
    expectGoodRead();
}

TEST_P(LateAnswer, MayNameTheTokenOfItsRequestUnderThatTokensKeys) {
    ask();
    answerWithKeysOf(m_waiting->tokenId());
    EXPECT_TRUE(waitForValue(77));
    expectGoodRead();
}

TEST_P(LateAnswer, UnderTheKeysOfAnyOtherTokenIsNotTaken) {
    ask();
    answerWithKeysOf(m_waiting->tokenId() + 1);
    expectLost();
}

INSTANTIATE_TEST_SUITE_P(Each, LateAnswer, testing::Combine(testing::Values(3), testing::Values(1, 2)),
                         policyName);

TEST_F(SecuredChannel, DoesNotTakeTheNewestKeysUnderAnotherTokensName) {
    expectRefused(AfterThreeRenewals::FirstTokenWithNewestKeys);
}

TEST_F(SecuredChannel, DoesNotTakeATokenOfTwoRenewalsAgo) {
    expectRefused(AfterThreeRenewals::FirstToken);
}

/// The session's nonce has 32 bytes at least, the channel's exactly what its policy says.
class SessionNonce : public SecuredChannel, public testing::WithParamInterface<std::size_t> {};

TEST_P(SessionNonce, ThatIsTooShortIsRefused) {
    offerSecurity();
    server.edit<UA_CreateSessionResponse>(
        [](UA_CreateSessionResponse& response) { assign(response.serverNonce, Bytes(GetParam(), 'n')); });
    EXPECT_EQ(secureConnect(), connectFailed);
    EXPECT_EQ(server.count<UA_ActivateSessionRequest>(), 0);
}

TEST_P(SessionNonce, ThatIsTooShortIsRefusedOverASigningChannel) {
    offerSecurity();
    server.edit<UA_CreateSessionResponse>(
        [](UA_CreateSessionResponse& response) { assign(response.serverNonce, Bytes(GetParam(), 'n')); });
    EXPECT_EQ(secureConnect(3, 1), connectFailed);
    EXPECT_EQ(server.count<UA_ActivateSessionRequest>(), 0);
}

INSTANTIATE_TEST_SUITE_P(Length, SessionNonce, testing::Values(0, 1, 8, 16, 31));

TEST_F(SecuredChannel, TakesALongerNonceOfTheSession) {
    offerSecurity();
    server.edit<UA_CreateSessionResponse>(
        [](UA_CreateSessionResponse& response) { assign(response.serverNonce, Bytes(64, 'n')); });
    ASSERT_EQ(secureConnect(), 0);
    expectGoodRead();
}

class ChannelNonce : public SecuredChannel,
                     public testing::WithParamInterface<std::tuple<int, std::size_t>> {};

TEST_P(ChannelNonce, OfAnotherLengthIsRefused) {
    const auto [policy, length] = GetParam();
    server.offer({offer(policy, modeEncrypt)}, usualIdentity());
    server.edit<UA_OpenSecureChannelResponse>([size = length](UA_OpenSecureChannelResponse& response) {
        if (response.serverNonce.length != 0) // not the channel that asks for endpoints
            assign(response.serverNonce, Bytes(size, 'n'));
    });
    EXPECT_EQ(secureConnect(policy, 2), connectFailed);
    EXPECT_EQ(server.count<UA_CreateSessionRequest>(), 0);
}

INSTANTIATE_TEST_SUITE_P(Policy, ChannelNonce,
                         testing::Combine(testing::Values(1, 3, 5), testing::Values(0, 1, 8, 15, 31)));

TEST_F(SecuredChannel, RefusesAShortNonceOfARenewal) {
    offerSecurity();
    revise(2000);
    ASSERT_EQ(secureConnect(), 0);
    server.edit<UA_OpenSecureChannelResponse>([](UA_OpenSecureChannelResponse& response) {
        response.securityToken.revisedLifetime = 2000;
        assign(response.serverNonce, Bytes(1, 'n'));
    });
    expectLost();
}

/// A chunk that somebody changed on its way.
struct Damage {
    std::string name;
    std::function<void(Bytes&)> change;
};

std::ostream& operator<<(std::ostream& stream, const Damage& damage) {
    return stream << damage.name;
}

void flip(Bytes& chunk, std::size_t place) {
    chunk[place] = static_cast<char>(chunk[place] ^ 1);
}

const std::vector<Damage> damages{
    {"ChannelNumber", [](Bytes& chunk) { flip(chunk, 8); }},
    {"TokenNumber", [](Bytes& chunk) { flip(chunk, 12); }},
    {"FirstByte", [](Bytes& chunk) { flip(chunk, 16); }},
    {"MiddleByte", [](Bytes& chunk) { flip(chunk, 16 + (chunk.size() - 16) / 2); }},
    {"LastByte", [](Bytes& chunk) { flip(chunk, chunk.size() - 1); }},
    {"Kind", [](Bytes& chunk) { chunk.replace(0, 3, "CLO"); }},
    {"ChunkType", [](Bytes& chunk) { chunk[3] = 'C'; }},
    {"Abort", [](Bytes& chunk) { chunk[3] = 'A'; }},
    {"CutByABlock",
     [](Bytes& chunk) {
         chunk.resize(chunk.size() - 16);
         chunk.replace(4, 4, u32(static_cast<std::uint32_t>(chunk.size())));
     }},
    {"CutByAByte",
     [](Bytes& chunk) {
         chunk.resize(chunk.size() - 1);
         chunk.replace(4, 4, u32(static_cast<std::uint32_t>(chunk.size())));
     }},
    {"CutToTheHeader",
     [](Bytes& chunk) {
         chunk.resize(16);
         chunk.replace(4, 4, u32(16));
     }},
    {"CutToOneBlock",
     [](Bytes& chunk) {
         chunk.resize(32);
         chunk.replace(4, 4, u32(32));
     }},
    {"LongerByABlock",
     [](Bytes& chunk) {
         chunk += Bytes(16, 'x');
         chunk.replace(4, 4, u32(static_cast<std::uint32_t>(chunk.size())));
     }},
    {"AllZeros", [](Bytes& chunk) { chunk.replace(16, chunk.size() - 16, Bytes(chunk.size() - 16, '\0')); }},
};

class DamagedChunk : public SecuredChannel, public testing::WithParamInterface<Damage> {
protected:
    void expectFatal(int mode) {
        offerSecurity();
        ASSERT_EQ(secureConnect(3, mode), 0);
        server.on<UA_ReadRequest>([](const Call& call) {
            Bytes chunk = call.connection().bytesOf(call.chunk('F', call.usualBody()));
            GetParam().change(chunk);
            call.connection().send(chunk);
        });
        EXPECT_NE(read(), 0);
        expectLost();
    }
};

TEST_P(DamagedChunk, EndsAnEncryptedConnection) {
    expectFatal(2);
}

TEST_P(DamagedChunk, EndsASignedConnection) {
    expectFatal(1);
}

TEST_P(DamagedChunk, OfARenewalEndsTheConnection) {
    offerSecurity();
    revise(2000);
    ASSERT_EQ(secureConnect(), 0);
    server.on<UA_OpenSecureChannelRequest>([](const Call& call) {
        Bytes chunk = call.connection().bytesOf(call.chunk('F', call.usualBody()));
        GetParam().change(chunk);
        call.connection().send(chunk);
    });
    expectLost();
}

TEST_P(DamagedChunk, OfTheFirstTokenEndsTheConnect) {
    offerSecurity();
    server.on<UA_OpenSecureChannelRequest>([](const Call& call) {
        Bytes chunk = call.connection().bytesOf(call.chunk('F', call.usualBody()));
        if (call.connection().protection() != nullptr)
            GetParam().change(chunk);
        call.connection().send(chunk);
    });
    EXPECT_EQ(secureConnect(3, 2, 3000), connectFailed);
    EXPECT_EQ(server.count<UA_CreateSessionRequest>(), 0);
}

INSTANTIATE_TEST_SUITE_P(Each, DamagedChunk, testing::ValuesIn(damages),
                         [](const auto& one) { return one.param.name; });

TEST_F(SecuredChannel, DoesNotTakeWhatIsRepeated) {
    offerSecurity();
    ASSERT_EQ(secureConnect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        const Bytes chunk = call.connection().bytesOf(call.chunk('F', call.usualBody()));
        call.connection().send(chunk);
        call.connection().send(chunk);
    });
    EXPECT_EQ(read(), 0);
    expectLost();
}

TEST_F(SecuredChannel, DoesNotTakeAnUnprotectedChunk) {
    offerSecurity();
    ASSERT_EQ(secureConnect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        const Bytes body = call.usualBody();
        const Bytes content = u32(call.connection().channelId()) + u32(call.connection().tokenId()) + u32(5) +
                              u32(call.id()) + body;
        call.connection().send(transportMessage("MSGF", content));
    });
    EXPECT_NE(read(), 0);
    expectLost();
}

TEST_F(SecuredChannel, IsNotOpenedByAnUnprotectedAnswer) {
    offerSecurity();
    server.on<UA_OpenSecureChannelRequest>([](const Call& call) {
        if (call.connection().protection() == nullptr) {
            call.answer();
            return;
        }
        const Bytes content = u32(1) + lengthAnd(policyUri("None")) + nullText() + nullText() + u32(1) +
                              u32(call.id()) + call.usualBody();
        call.connection().send(transportMessage("OPNF", content));
    });
    EXPECT_EQ(secureConnect(3, 2, 3000), connectFailed);
    EXPECT_EQ(server.count<UA_CreateSessionRequest>(), 0);
}

TEST_F(SecuredChannel, IsNotOpenedByAnotherCertificate) {
    offerSecurity();
    const Identity other = makeIdentity(IdentityPlan());
    server.on<UA_GetEndpointsRequest>([this, &other](const Call& call) {
        const Bytes body = call.usualBody();
        server.offer(server.offers(), other);
        call.answerBody(body);
    });
    EXPECT_EQ(secureConnect(3, 2, 3000), connectFailed);
    EXPECT_EQ(server.count<UA_CreateSessionRequest>(), 0);
    // The client encrypts to the certificate that was decided on: this server can't read that.
    EXPECT_THAT(server.violations(), testing::Not(testing::IsEmpty()));
    server.forgetViolations();
}

/// The signature that proves who made the session.
struct Forgery {
    std::string name;
    std::function<void(UA_CreateSessionResponse&)> change;
};

std::ostream& operator<<(std::ostream& stream, const Forgery& forgery) {
    return stream << forgery.name;
}

const std::vector<Forgery> forgeries{
    {"NoSignature",
     [](UA_CreateSessionResponse& response) { UA_String_clear(&response.serverSignature.signature); }},
    {"FlippedSignature",
     [](UA_CreateSessionResponse& response) { response.serverSignature.signature.data[7] ^= 1; }},
    {"LongSignature",
     [](UA_CreateSessionResponse& response) {
         assign(response.serverSignature.signature, Bytes(100000, 's'));
     }},
    {"NoCertificate",
     [](UA_CreateSessionResponse& response) { UA_ByteString_clear(&response.serverCertificate); }},
    {"RubbishCertificate",
     [](UA_CreateSessionResponse& response) { assign(response.serverCertificate, Bytes(1000, '\x30')); }},
    {"OtherCertificate",
     [](UA_CreateSessionResponse& response) {
         assign(response.serverCertificate, makeIdentity(IdentityPlan()).certificate);
     }},
};

class ForgedSession : public SecuredChannel, public testing::WithParamInterface<Forgery> {};

TEST_P(ForgedSession, IsNotActivated) {
    offerSecurity();
    server.edit<UA_CreateSessionResponse>(
        [](UA_CreateSessionResponse& response) { GetParam().change(response); });
    EXPECT_EQ(secureConnect(), connectFailed);
    EXPECT_EQ(server.count<UA_ActivateSessionRequest>(), 0);
}

INSTANTIATE_TEST_SUITE_P(Each, ForgedSession, testing::ValuesIn(forgeries),
                         [](const auto& one) { return one.param.name; });

/// A certificate with its issuers behind it.
class Chain : public SecuredChannel {
protected:
    static Identity chain(int issuers) {
        IdentityPlan plan;
        plan.isAuthority = true;
        plan.name = "authority";
        Identity issuer = makeIdentity(plan);
        Bytes behind = issuer.certificate;
        for (int i = 1; i < issuers; ++i) {
            plan.name = "authority " + std::to_string(i);
            issuer = makeIdentity(plan, issuer);
            behind.insert(0, issuer.certificate);
        }
        Identity leaf = makeIdentity(IdentityPlan(), issuer);
        leaf.certificate += behind;
        return leaf;
    }
    static Bytes leafOf(const Bytes& chain) {
        const auto byte = [&chain](std::size_t place) {
            return static_cast<std::size_t>(static_cast<unsigned char>(chain[place]));
        };
        return chain.substr(0, 4 + byte(2) * 256 + byte(3));
    }
};

TEST_F(Chain, EverywhereConnects) {
    offerSecurity(chain(2));
    ASSERT_EQ(secureConnect(), 0);
    expectGoodRead();
}

TEST_F(Chain, InTheSessionsAnswerAloneConnects) {
    offerSecurity(chain(1));
    server.edit<UA_GetEndpointsResponse>([](UA_GetEndpointsResponse& response) {
        for (std::size_t i = 0; i < response.endpointsSize; ++i) {
            UA_ByteString& shown = response.endpoints[i].serverCertificate;
            assign(shown, leafOf(Bytes(reinterpret_cast<const char*>(shown.data), shown.length)));
        }
    });
    ASSERT_EQ(secureConnect(), 0);
    expectGoodRead();
}

TEST_F(Chain, InTheEndpointsAloneConnects) {
    offerSecurity(chain(1));
    server.edit<UA_CreateSessionResponse>([](UA_CreateSessionResponse& response) {
        UA_ByteString& shown = response.serverCertificate;
        assign(shown, leafOf(Bytes(reinterpret_cast<const char*>(shown.data), shown.length)));
    });
    ASSERT_EQ(secureConnect(), 0);
    expectGoodRead();
}

TEST_F(Chain, WithRubbishBehindItsLeafConnects) {
    Identity identity = usualIdentity();
    identity.certificate += Bytes(100, 'x');
    offerSecurity(identity);
    secureConnect(); // or not
}

/// Certificates with many names, of about this many bytes.
class LargeCertificate : public SecuredChannel, public testing::WithParamInterface<int> {};

TEST_P(LargeCertificate, Connects) {
    IdentityPlan plan;
    plan.hostNames = GetParam() / 62;
    const Identity identity = makeIdentity(plan);
    EXPECT_GE(static_cast<int>(identity.certificate.size()), GetParam());
    offerSecurity(identity);
    ASSERT_EQ(secureConnect(), 0);
    expectGoodRead();
}

INSTANTIATE_TEST_SUITE_P(Bytes, LargeCertificate, testing::Values(3000, 4000, 8000, 16000, 30000, 59000));

TEST_F(Chain, OfManyIssuersConnects) {
    offerSecurity(chain(8));
    ASSERT_EQ(secureConnect(), 0);
    expectGoodRead();
}

/// Keys of every length that policies know.
class KeyLength : public SecuredChannel, public testing::WithParamInterface<std::tuple<int, int>> {};

TEST_P(KeyLength, WithinThePolicysLimitsConnects) {
    const auto [policy, bits] = GetParam();
    IdentityPlan plan;
    plan.bits = bits;
    server.offer({offer(policy, modeEncrypt)}, makeIdentity(plan));
    ASSERT_EQ(secureConnect(policy, 2), 0);
    expectGoodRead();
}

INSTANTIATE_TEST_SUITE_P(Policy, KeyLength,
                         testing::Values(std::tuple(1, 1024), std::tuple(2, 1024), std::tuple(3, 2048),
                                         std::tuple(3, 3072), std::tuple(5, 3072), std::tuple(5, 4096)));

/// Beyond them the application is asked, as for every other objection.
class KeyBeyondLimits : public SecuredChannel, public testing::WithParamInterface<std::tuple<int, int>> {};

TEST_P(KeyBeyondLimits, IsPutToTheApplication) {
    const auto [policy, bits] = GetParam();
    constexpr int smallKeys = 1;
    constexpr int largeKeys = 3;
    const int other = policy == smallKeys ? largeKeys : smallKeys;
    IdentityPlan plan;
    plan.bits = bits;
    server.offer({offer(policy, modeEncrypt), offer(other, modeEncrypt)}, makeIdentity(plan));
    Operator trusting(Operator::always);
    client.installOpcUaCallBack(&trusting);
    ASSERT_EQ(secureConnect(other, 2), 0);
    EXPECT_EQ(trusting.asked, 1);
    ASSERT_EQ(secureConnect(other, 2), 0);
    EXPECT_EQ(trusting.asked, 1);
    Operator rejecting(Operator::reject);
    client.installOpcUaCallBack(&rejecting);
    EXPECT_EQ(secureConnect(policy, 2), 23);
    EXPECT_EQ(rejecting.asked, 1);
    client.installOpcUaCallBack(&application);
}

INSTANTIATE_TEST_SUITE_P(Policy, KeyBeyondLimits, testing::Values(std::tuple(1, 3072), std::tuple(3, 1024)));

} // namespace
