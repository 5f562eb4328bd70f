// Published answers for what the symmetric keys of a channel are made of.

#include <cstddef>
#include <string>

#include <gtest/gtest.h>

#include "chained_cipher.h"
#include "channel_material.h"
#include "key_derivation.h"
#include "keyed_hash.h"

using channel::Bytes;
using channel::fromHex;
using channel::view;
using Digest = UaPkiSecurityPolicy::Digest;

namespace {

struct HashCase {
    Digest digest;
    Bytes key;
    std::string text;
    std::string result;
};

const HashCase hashCases[] = {
    // RFC 2202, 3
    {Digest::Sha1, Bytes(20, 0x0B), "Hi There", "b617318655057264e28bc0b6fb378c8ef146be00"},
    {Digest::Sha1, fromHex("4a656665"), "what do ya want for nothing?",
     "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"},
    {Digest::Sha1, Bytes(20, 0xAA), std::string(50, '\xDD'), "125d7342b9ac11cd91a39af48aa17b4f63f175d3"},
    // RFC 4231, 4.2, 4.3, 4.4 and 4.7
    {Digest::Sha256, Bytes(20, 0x0B), "Hi There",
     "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7"},
    {Digest::Sha256, fromHex("4a656665"), "what do ya want for nothing?",
     "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843"},
    {Digest::Sha256, Bytes(20, 0xAA), std::string(50, '\xDD'),
     "773ea91e36800e46854db8ebd09181a72959098b3ef8c122d9635514ced565fe"},
    {Digest::Sha256, Bytes(131, 0xAA), "Test Using Larger Than Block-Size Key - Hash Key First",
     "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54"},
};

TEST(ChannelVectors, KeyedHashes) {
    for (const HashCase& test : hashCases) {
        pki::KeyedHash hash;
        ASSERT_TRUE(hash.setKey(test.digest, view(test.key)));
        const Bytes expected = fromHex(test.result);
        ASSERT_EQ(hash.length(), expected.size());
        for (int round = 0; round < 2; ++round) { // its key is still there
            Bytes result(hash.length());
            ASSERT_TRUE(hash.calculate(view(test.text), result.data()));
            EXPECT_EQ(result, expected) << test.text;
            EXPECT_TRUE(hash.matches(view(test.text), view(expected)));
        }
    }
}

TEST(ChannelVectors, AKeyedHashNeedsADigest) {
    EXPECT_FALSE(pki::KeyedHash().setKey(Digest::None, view(Bytes(16))));
}

const char* const cipherPlain = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                                "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";

struct CipherCase {
    const char* key;
    const char* cipher;
};

const CipherCase cipherCases[] = {
    // NIST SP 800-38A, F.2.1 and F.2.5
    {"2b7e151628aed2a6abf7158809cf4f3c", "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
                                         "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7"},
    {"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4",
     "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
     "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b"},
};

TEST(ChannelVectors, ChainedCiphers) {
    for (const CipherCase& test : cipherCases) {
        pki::ChainedCipher cipher;
        ASSERT_TRUE(cipher.setKey(view(fromHex(test.key)), view(channel::counted(16))));
        for (int round = 0; round < 2; ++round) { // begins with the vector again
            Bytes data = fromHex(cipherPlain);
            ASSERT_TRUE(cipher.encrypt(data.data(), data.size()));
            EXPECT_EQ(data, fromHex(test.cipher));
            ASSERT_TRUE(cipher.decrypt(data.data(), data.size()));
            EXPECT_EQ(data, fromHex(cipherPlain));
        }
    }
}

TEST(ChannelVectors, AChainedCipherTakesKeysOfItsLengthsAlone) {
    for (const std::size_t length : {0U, 15U, 17U, 24U, 31U, 33U})
        EXPECT_FALSE(pki::ChainedCipher().setKey(view(Bytes(length)), view(Bytes(16)))) << length;
    EXPECT_FALSE(pki::ChainedCipher().setKey(view(Bytes(16)), view(Bytes(15))));
}

// The vector for P_SHA256 that circulates since TLS 1.2 was drafted: the label is the seed's beginning.
TEST(ChannelVectors, KeyDerivation) {
    const Bytes secret = fromHex("9bbe436ba940f017b17652849a71db35");
    Bytes seed = fromHex("a0ba9f936cda311827a6f796ffd5198c");
    const std::string label = "test label";
    seed.insert(seed.begin(), label.begin(), label.end());
    Bytes derived(100);
    ASSERT_TRUE(pki::deriveBytes(Digest::Sha256, view(secret), view(seed), derived));
    EXPECT_EQ(derived, fromHex("e3f229ba727be17b8d122620557cd453c2aab21d07c3d495329b52d4e61edb5a"
                               "6b301791e90d35c9c9a46b4e14baf9af0fa022f7077def17abfd3797c0564bab"
                               "4fbc91666e9def9b97fce34f796789baa48082d122ee42c5a72e5a5110fff701"
                               "87347b66"));
}

// RFC 5246, 5, step by step.
TEST(ChannelVectors, KeyDerivationIsMadeOfKeyedHashes) {
    const Bytes secret = channel::counted(16);
    const Bytes seed(16, 0x5A);
    pki::KeyedHash hash;
    ASSERT_TRUE(hash.setKey(Digest::Sha1, view(secret)));
    Bytes expected;
    Bytes step = seed;
    for (int i = 0; i < 4; ++i) {
        Bytes next(hash.length());
        ASSERT_TRUE(hash.calculate(view(step), next.data()));
        step = next;
        next.insert(next.end(), seed.begin(), seed.end());
        Bytes part(hash.length());
        ASSERT_TRUE(hash.calculate(view(next), part.data()));
        expected.insert(expected.end(), part.begin(), part.end());
    }
    Bytes derived(expected.size());
    ASSERT_TRUE(pki::deriveBytes(Digest::Sha1, view(secret), view(seed), derived));
    EXPECT_EQ(derived, expected);
}

} // namespace
