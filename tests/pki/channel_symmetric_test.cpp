#include <cstddef>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "channel_material.h"
#include "uapki/asymmetric_keys.h"
#include "uapki/symmetric_keys.h"

using channel::Bytes;
using channel::counted;
using channel::view;

namespace {

class SymmetricKeys : public testing::TestWithParam<const char*> {
protected:
    const UaPkiSecurityPolicy& m_policy = channel::policy(GetParam());
    const Bytes m_secret = counted(m_policy.nonceLength);
    const Bytes m_seed = Bytes(m_policy.nonceLength, 0x77);
    UaPkiSymmetricKeys m_keys{m_policy, view(m_secret), view(m_seed)};
};

TEST_P(SymmetricKeys, VerifyWhatTheSameKeysSigned) {
    ASSERT_TRUE(m_keys.isValid());
    UaPkiSymmetricKeys other(m_policy, view(m_secret), view(m_seed));
    for (const std::size_t size : {0U, 1U, 63U, 64U, 65U, 200U, 8192U}) {
        const Bytes data = counted(size);
        Bytes signature(m_policy.signatureLength);
        ASSERT_TRUE(m_keys.sign(view(data), signature.data()));
        EXPECT_TRUE(other.verify(view(data), view(signature))) << size;
    }
}

TEST_P(SymmetricKeys, EachDirectionHasItsOwn) {
    UaPkiSymmetricKeys exchanged(m_policy, view(m_seed), view(m_secret));
    Bytes data = counted(64);
    Bytes signature(m_policy.signatureLength);
    ASSERT_TRUE(m_keys.sign(view(data), signature.data()));
    EXPECT_FALSE(exchanged.verify(view(data), view(signature)));
    ASSERT_TRUE(m_keys.encrypt(data.data(), data.size()));
    ASSERT_TRUE(exchanged.decrypt(data.data(), data.size()));
    EXPECT_NE(data, counted(64));
}

TEST_P(SymmetricKeys, SeeEveryChangedByte) {
    Bytes data = counted(200);
    Bytes signature(m_policy.signatureLength);
    ASSERT_TRUE(m_keys.sign(view(data), signature.data()));
    for (OpcUa_Byte& byte : signature) {
        byte ^= 1;
        EXPECT_FALSE(m_keys.verify(view(data), view(signature)));
        byte ^= 1;
    }
    for (OpcUa_Byte& byte : data) {
        byte ^= 0x80;
        EXPECT_FALSE(m_keys.verify(view(data), view(signature)));
        byte ^= 0x80;
    }
    EXPECT_TRUE(m_keys.verify(view(data), view(signature)));
    EXPECT_FALSE(m_keys.verify(view(data).first(199), view(signature)));
}

TEST_P(SymmetricKeys, RefuseSignaturesOfAnotherLength) {
    const Bytes data = counted(200);
    Bytes signature(m_policy.signatureLength);
    ASSERT_TRUE(m_keys.sign(view(data), signature.data()));
    EXPECT_FALSE(m_keys.verify(view(data), {}));
    EXPECT_FALSE(m_keys.verify(view(data), view(signature).first(signature.size() - 1)));
    signature.push_back(0);
    EXPECT_FALSE(m_keys.verify(view(data), view(signature)));
}

TEST_P(SymmetricKeys, DecryptWhatTheSameKeysEncrypted) {
    UaPkiSymmetricKeys other(m_policy, view(m_secret), view(m_seed));
    for (const std::size_t size : {0U, 16U, 32U, 208U, 65536U}) {
        Bytes data = counted(size);
        ASSERT_TRUE(m_keys.encrypt(data.data(), data.size()));
        EXPECT_EQ(data == counted(size), size == 0);
        ASSERT_TRUE(other.decrypt(data.data(), data.size()));
        EXPECT_EQ(data, counted(size));
    }
}

TEST_P(SymmetricKeys, EncryptWholeBlocksAlone) {
    for (const std::size_t size : {1U, 15U, 17U, 31U}) {
        Bytes data = counted(size);
        EXPECT_FALSE(m_keys.encrypt(data.data(), data.size()));
        EXPECT_FALSE(m_keys.decrypt(data.data(), data.size()));
        EXPECT_EQ(data, counted(size));
    }
    // And what was refused leaves no trace in what follows.
    Bytes data = counted(32);
    ASSERT_TRUE(m_keys.encrypt(data.data(), data.size()) && m_keys.decrypt(data.data(), data.size()));
    EXPECT_EQ(data, counted(32));
}

TEST_P(SymmetricKeys, MoveWithTheirOwner) {
    UaPkiSymmetricKeys moved(std::move(m_keys));
    EXPECT_TRUE(moved.isValid());
    m_keys = std::move(moved);
    Bytes data = counted(32);
    EXPECT_TRUE(m_keys.encrypt(data.data(), data.size()));
}

TEST_P(SymmetricKeys, NeedBothNonces) {
    EXPECT_FALSE(UaPkiSymmetricKeys(m_policy, {}, view(m_seed)).isValid());
    EXPECT_FALSE(UaPkiSymmetricKeys(m_policy, view(m_secret), {}).isValid());
}

INSTANTIATE_TEST_SUITE_P(Policy, SymmetricKeys, testing::ValuesIn(channel::protectingPolicies),
                         [](const auto& test) { return std::string(test.param); });

TEST(NoSymmetricKeys, DoNothing) {
    const Bytes nonce(32);
    UaPkiSymmetricKeys none;
    UaPkiSymmetricKeys unprotected(UaPkiSecurityPolicy::none(), view(nonce), view(nonce));
    for (UaPkiSymmetricKeys* keys : {&none, &unprotected}) {
        Bytes data = counted(32);
        EXPECT_FALSE(keys->isValid());
        EXPECT_FALSE(keys->sign(view(data), data.data()));
        EXPECT_FALSE(keys->verify(view(data), {}));
        EXPECT_FALSE(keys->encrypt(data.data(), data.size()));
        EXPECT_FALSE(keys->decrypt(data.data(), data.size()));
        EXPECT_EQ(data, counted(32));
    }
}

TEST(RandomBytes, AreNeverTheSame) {
    Bytes first(32);
    Bytes second(32);
    ASSERT_TRUE(UaPkiRandomBytes(first.data(), first.size()));
    ASSERT_TRUE(UaPkiRandomBytes(second.data(), second.size()));
    EXPECT_NE(first, second);
    EXPECT_TRUE(UaPkiRandomBytes(nullptr, 0));
}

TEST(WipedBytes, AreZero) {
    Bytes bytes = counted(100);
    UaPkiWipe(bytes.data(), bytes.size());
    EXPECT_EQ(bytes, Bytes(100));
    UaPkiWipe(nullptr, 0);
}

} // namespace
