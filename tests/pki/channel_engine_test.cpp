// The engine's own policies stand on another cryptographic library: what both agree on is not our invention.

#include <cstdarg>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>
#include <open62541/plugin/log.h>
#include <open62541/plugin/securitypolicy_default.h>

#include "channel_material.h"
#include "uapki/asymmetric_keys.h"
#include "uapki/symmetric_keys.h"

using channel::Bytes;
using channel::counted;
using channel::view;

namespace {

using Maker = UA_StatusCode (*)(UA_SecurityPolicy*, UA_ByteString, UA_ByteString, const UA_Logger*);

struct Case {
    const char* name;
    Maker make;
    int ownBits;
    int engineBits;
};

const Case cases[] = {
    {"Basic128Rsa15", UA_SecurityPolicy_Basic128Rsa15, 1024, 2048},
    {"Basic128Rsa15", UA_SecurityPolicy_Basic128Rsa15, 2048, 1024},
    {"Basic256", UA_SecurityPolicy_Basic256, 1024, 2048},
    {"Basic256", UA_SecurityPolicy_Basic256, 2048, 1024},
    {"Basic256Sha256", UA_SecurityPolicy_Basic256Sha256, 2048, 4096},
    {"Basic256Sha256", UA_SecurityPolicy_Basic256Sha256, 4096, 2048},
    {"Aes128_Sha256_RsaOaep", UA_SecurityPolicy_Aes128Sha256RsaOaep, 2048, 4096},
    {"Aes128_Sha256_RsaOaep", UA_SecurityPolicy_Aes128Sha256RsaOaep, 4096, 2048},
    {"Aes256_Sha256_RsaPss", UA_SecurityPolicy_Aes256Sha256RsaPss, 2048, 4096},
    {"Aes256_Sha256_RsaPss", UA_SecurityPolicy_Aes256Sha256RsaPss, 4096, 2048},
};

/// For what does not depend on the asymmetric keys.
const Case quickCases[] = {
    {"Basic128Rsa15", UA_SecurityPolicy_Basic128Rsa15, 2048, 2048},
    {"Basic256", UA_SecurityPolicy_Basic256, 2048, 2048},
    {"Basic256Sha256", UA_SecurityPolicy_Basic256Sha256, 2048, 2048},
    {"Aes128_Sha256_RsaOaep", UA_SecurityPolicy_Aes128Sha256RsaOaep, 2048, 2048},
    {"Aes256_Sha256_RsaPss", UA_SecurityPolicy_Aes256Sha256RsaPss, 2048, 2048},
};

UA_ByteString engineView(const Bytes& bytes) {
    return {bytes.size(), const_cast<UA_Byte*>(bytes.data())};
}

std::string text(const UA_String& string) {
    return {reinterpret_cast<const char*>(string.data), string.length};
}

void silence(void*, UA_LogLevel, UA_LogCategory, const char*, va_list) {}

void mustBe(bool done) {
    if (!done)
        throw std::runtime_error("the engine's side of the channel cannot be set up");
}

/// The engine's side of a channel, with a key of its own and our certificate; and our side of it.
struct Channel {
    explicit Channel(const Case& test)
        : policy(channel::policy(test.name)), ownKey(channel::rsaKey(test.ownBits)),
          engineKey(channel::rsaKey(test.engineBits)) {
        const channel::Record engineRecord(engineKey);
        const channel::Record ownRecord(ownKey);
        const UaByteString ownCertificate = channel::certificateOf(ownKey);
        const UA_ByteString remote = ownCertificate.view();
        mustBe(test.make(&engine, engineCertificate.view(), engineRecord.key().bytes, &logger) ==
               UA_STATUSCODE_GOOD);
        mustBe(engine.channelModule.newContext(&engine, &remote, &context) == UA_STATUSCODE_GOOD);
        mustBe(UaPkiOwnKey::open(policy, ownRecord.key(), own).isGood());
        mustBe(UaPkiPeerKey::open(policy, engineCertificate, UaPkiPeerKey::Limits::Enforced, peer).isGood());
    }
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;
    ~Channel() {
        engine.channelModule.deleteContext(context);
        engine.clear(&engine);
    }

    Bytes engineDerived(const Bytes& secret, const Bytes& seed, std::size_t count) {
        Bytes derived(count);
        UA_ByteString out = engineView(derived);
        const UA_ByteString secretView = engineView(secret);
        const UA_ByteString seedView = engineView(seed);
        EXPECT_EQ(engine.symmetricModule.generateKey(engine.policyContext, &secretView, &seedView, &out),
                  UA_STATUSCODE_GOOD);
        return derived;
    }

    /// Both of the engine's directions get the same keys.
    void giveEngineKeys(const Bytes& secret, const Bytes& seed) {
        const std::size_t lengths[] = {policy.signatureKeyLength, policy.encryptionKeyLength, 16};
        Bytes derived = engineDerived(secret, seed, lengths[0] + lengths[1] + lengths[2]);
        UA_SecurityPolicyChannelModule& module = engine.channelModule;
        const decltype(module.setLocalSymIv) setters[][2] = {
            {module.setLocalSymSigningKey, module.setRemoteSymSigningKey},
            {module.setLocalSymEncryptingKey, module.setRemoteSymEncryptingKey},
            {module.setLocalSymIv, module.setRemoteSymIv}};
        UA_Byte* position = derived.data();
        for (std::size_t i = 0; i < 3; ++i) {
            const UA_ByteString key{lengths[i], position};
            for (auto set : setters[i])
                ASSERT_EQ(set(context, &key), UA_STATUSCODE_GOOD);
            position += lengths[i];
        }
    }

    const UaPkiSecurityPolicy& policy;
    const channel::Key ownKey;
    const channel::Key engineKey;
    const UaByteString engineCertificate = channel::certificateOf(engineKey);
    UaPkiOwnKey own;
    UaPkiPeerKey peer;
    UA_Logger logger{silence, nullptr, nullptr};
    UA_SecurityPolicy engine{};
    void* context = nullptr;
};

template <std::size_t Count>
void withEngine(const Case (&chosen)[Count], const std::function<void(Channel&)>& run) {
    for (const Case& test : chosen) {
        SCOPED_TRACE(std::string(test.name) + ' ' + std::to_string(test.ownBits));
        Channel sides(test);
        run(sides);
    }
}

TEST(ChannelAgainstEngine, ThePolicyIsTheSame) {
    withEngine(quickCases, [](Channel& sides) {
        const UA_SecurityPolicyCryptoModule& asymmetric = sides.engine.asymmetricModule.cryptoModule;
        const UA_SecurityPolicyCryptoModule& symmetric = sides.engine.symmetricModule.cryptoModule;
        EXPECT_EQ(text(sides.engine.policyUri), sides.policy.uri);
        EXPECT_EQ(text(asymmetric.signatureAlgorithm.uri), sides.policy.asymmetricSignatureUri);
        EXPECT_EQ(text(asymmetric.encryptionAlgorithm.uri), sides.policy.asymmetricEncryptionUri);
        EXPECT_EQ(sides.engine.symmetricModule.secureChannelNonceLength, sides.policy.nonceLength);
        EXPECT_EQ(symmetric.signatureAlgorithm.getLocalSignatureSize(sides.context),
                  sides.policy.signatureLength);
        EXPECT_EQ(symmetric.signatureAlgorithm.getLocalKeyLength(sides.context),
                  sides.policy.signatureKeyLength);
        EXPECT_EQ(symmetric.encryptionAlgorithm.getLocalKeyLength(sides.context),
                  sides.policy.encryptionKeyLength);
        EXPECT_EQ(symmetric.encryptionAlgorithm.getRemoteBlockSize(sides.context),
                  UaPkiSecurityPolicy::encryptionBlockLength);
        EXPECT_EQ(asymmetric.encryptionAlgorithm.getRemotePlainTextBlockSize(sides.context),
                  sides.peer.plainBlockLength());
        EXPECT_EQ(asymmetric.encryptionAlgorithm.getRemoteBlockSize(sides.context), sides.peer.blockLength());
    });
}

TEST(ChannelAgainstEngine, EachVerifiesWhatTheOtherSigned) {
    withEngine(cases, [](Channel& sides) {
        const Bytes data = counted(300);
        const UA_ByteString dataView = engineView(data);
        auto& algorithm = sides.engine.asymmetricModule.cryptoModule.signatureAlgorithm;
        const Bytes ours = sides.own.sign(view(data));
        const UA_ByteString oursView = engineView(ours);
        EXPECT_EQ(algorithm.verify(sides.context, &dataView, &oursView), UA_STATUSCODE_GOOD);
        const Bytes theirs(sides.peer.blockLength());
        UA_ByteString theirsView = engineView(theirs);
        ASSERT_EQ(algorithm.sign(sides.context, &dataView, &theirsView), UA_STATUSCODE_GOOD);
        EXPECT_TRUE(sides.peer.verify(view(data), view(theirs)));
    });
}

TEST(ChannelAgainstEngine, TheEngineDecryptsWhatWeEncrypted) {
    withEngine(cases, [](Channel& sides) {
        const Bytes plain = counted(3 * sides.peer.plainBlockLength());
        const Bytes data = sides.peer.encrypt(view(plain));
        UA_ByteString dataView = engineView(data);
        ASSERT_EQ(
            sides.engine.asymmetricModule.cryptoModule.encryptionAlgorithm.decrypt(sides.context, &dataView),
            UA_STATUSCODE_GOOD);
        EXPECT_EQ(Bytes(dataView.data, dataView.data + dataView.length), plain);
    });
}

TEST(ChannelAgainstEngine, WeDecryptWhatTheEngineEncrypted) {
    withEngine(cases, [](Channel& sides) {
        auto& algorithm = sides.engine.asymmetricModule.cryptoModule.encryptionAlgorithm;
        const Bytes plain = counted(3 * algorithm.getRemotePlainTextBlockSize(sides.context));
        Bytes data = plain; // encrypted in place: the engine writes on behind the text
        data.resize(3 * sides.own.blockLength());
        UA_ByteString dataView{plain.size(), data.data()};
        ASSERT_EQ(algorithm.encrypt(sides.context, &dataView), UA_STATUSCODE_GOOD);
        EXPECT_EQ(sides.own.decrypt(view(data)), plain);
    });
}

TEST(ChannelAgainstEngine, SignaturesOfMessagesAreTheSame) {
    withEngine(quickCases, [](Channel& sides) {
        const Bytes secret = counted(sides.policy.nonceLength);
        const Bytes seed(sides.policy.nonceLength, 0x33);
        sides.giveEngineKeys(secret, seed);
        UaPkiSymmetricKeys keys(sides.policy, view(secret), view(seed));
        const Bytes data = counted(208);
        Bytes ours(sides.policy.signatureLength);
        ASSERT_TRUE(keys.sign(view(data), ours.data()));
        const Bytes theirs(sides.policy.signatureLength);
        const UA_ByteString dataView = engineView(data);
        UA_ByteString theirsView = engineView(theirs);
        ASSERT_EQ(sides.engine.symmetricModule.cryptoModule.signatureAlgorithm.sign(sides.context, &dataView,
                                                                                    &theirsView),
                  UA_STATUSCODE_GOOD);
        EXPECT_EQ(ours, theirs);
    });
}

TEST(ChannelAgainstEngine, EncryptedMessagesAreTheSame) {
    withEngine(quickCases, [](Channel& sides) {
        const Bytes secret = counted(sides.policy.nonceLength);
        const Bytes seed(sides.policy.nonceLength, 0x44);
        sides.giveEngineKeys(secret, seed);
        UaPkiSymmetricKeys keys(sides.policy, view(secret), view(seed));
        auto& algorithm = sides.engine.symmetricModule.cryptoModule.encryptionAlgorithm;
        for (const std::size_t size : {16U, 208U, 8192U}) {
            Bytes ours = counted(size);
            const Bytes theirs = counted(size);
            ASSERT_TRUE(keys.encrypt(ours.data(), ours.size()));
            UA_ByteString theirsView = engineView(theirs);
            ASSERT_EQ(algorithm.encrypt(sides.context, &theirsView), UA_STATUSCODE_GOOD);
            EXPECT_EQ(ours, theirs) << size;
            ASSERT_EQ(algorithm.decrypt(sides.context, &theirsView), UA_STATUSCODE_GOOD);
            EXPECT_EQ(theirs, counted(size));
            ASSERT_TRUE(keys.decrypt(ours.data(), ours.size()));
            EXPECT_EQ(ours, counted(size));
        }
    });
}

TEST(ChannelAgainstEngine, ThumbprintsAreTheSame) {
    withEngine(quickCases, [](Channel& sides) {
        const Bytes theirs(20);
        UA_ByteString theirsView = engineView(theirs);
        const UA_ByteString certificate = sides.engineCertificate.view();
        ASSERT_EQ(
            sides.engine.asymmetricModule.makeCertificateThumbprint(&sides.engine, &certificate, &theirsView),
            UA_STATUSCODE_GOOD);
        EXPECT_EQ(UaPkiThumbprint(sides.engineCertificate), theirs);
    });
}

} // namespace
