#include <cstddef>
#include <functional>

#include <gtest/gtest.h>

#include "channel_material.h"
#include "uapki/asymmetric_keys.h"
#include "uapki/certificate.h"
#include "uastack/status_code.h"

using channel::Bytes;
using channel::counted;
using channel::Key;
using channel::policy;
using channel::Record;
using channel::view;
using Limits = UaPkiPeerKey::Limits;

namespace {

UaPkiPeerKey peerKey(const UaPkiSecurityPolicy& policy, const Key& key) {
    UaPkiPeerKey peer;
    EXPECT_TRUE(
        UaPkiPeerKey::open(policy, channel::certificateOf(key), Limits::AlreadyDecidedOn, peer).isGood());
    return peer;
}

UaPkiOwnKey ownKey(const UaPkiSecurityPolicy& policy, const Key& key) {
    UaPkiOwnKey own;
    EXPECT_TRUE(UaPkiOwnKey::open(policy, Record(key).key(), own).isGood());
    return own;
}

/// Both halves of one key of 2048 bits.
struct Pair {
    const UaPkiSecurityPolicy& policy;
    UaPkiOwnKey own = ownKey(policy, channel::rsaKey(2048));
    UaPkiPeerKey peer = peerKey(policy, channel::rsaKey(2048));
};

void forEachPolicy(const std::function<void(const Pair&)>& run) {
    for (const char* name : channel::protectingPolicies) {
        SCOPED_TRACE(name);
        run(Pair{policy(name)});
    }
}

// 1025 and 2047 bits: the modulus does not end with a byte.
TEST(AsymmetricKeys, DoForEachOtherWhateverTheirLength) {
    forEachPolicy([](const Pair& pair) {
        for (const int bits : {1024, 1025, 2047, 2048, 4096}) {
            const UaPkiOwnKey own = ownKey(pair.policy, channel::rsaKey(bits));
            const UaPkiPeerKey peer = peerKey(pair.policy, channel::rsaKey(bits));
            ASSERT_EQ(own.blockLength(), static_cast<std::size_t>((bits + 7) / 8));
            ASSERT_EQ(peer.blockLength(), own.blockLength());
            for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{3000}}) {
                const Bytes signature = own.sign(view(counted(size)));
                EXPECT_EQ(signature.size(), own.blockLength());
                EXPECT_TRUE(peer.verify(view(counted(size)), view(signature)));
            }
            for (const std::size_t size : {std::size_t{1}, peer.plainBlockLength(),
                                           peer.plainBlockLength() + 1, 3 * peer.plainBlockLength()}) {
                const Bytes cipher = peer.encrypt(view(counted(size)));
                EXPECT_EQ(cipher.size(), (size + peer.plainBlockLength() - 1) / peer.plainBlockLength() *
                                             peer.blockLength());
                EXPECT_EQ(own.decrypt(view(cipher)), counted(size));
            }
        }
    });
}

TEST(AsymmetricKeys, SeeEveryChangedByteOfASignature) {
    forEachPolicy([](const Pair& pair) {
        const Bytes data = counted(200);
        Bytes signature = pair.own.sign(view(data));
        for (OpcUa_Byte& byte : signature) {
            byte ^= 1;
            EXPECT_FALSE(pair.peer.verify(view(data), view(signature)));
            byte ^= 1;
        }
        EXPECT_TRUE(pair.peer.verify(view(data), view(signature)));
    });
}

TEST(AsymmetricKeys, RefuseASignatureOfOtherDataOrLength) {
    forEachPolicy([](const Pair& pair) {
        const Bytes data = counted(200);
        Bytes signature = pair.own.sign(view(data));
        EXPECT_FALSE(pair.peer.verify(view(data).first(199), view(signature)));
        EXPECT_FALSE(pair.peer.verify({}, view(signature)));
        EXPECT_FALSE(pair.peer.verify(view(data), {}));
        EXPECT_FALSE(pair.peer.verify(view(data), view(signature).from(1)));
        EXPECT_FALSE(pair.peer.verify(view(data), view(Bytes(signature.size(), 0))));
        EXPECT_FALSE(pair.peer.verify(view(data), view(Bytes(signature.size(), 0xFF))));
        signature.push_back(0);
        EXPECT_FALSE(pair.peer.verify(view(data), view(signature)));
    });
}

TEST(AsymmetricKeys, RefuseAnotherKeysSignature) {
    forEachPolicy([](const Pair& pair) {
        const UaPkiOwnKey stranger = ownKey(pair.policy, channel::rsaKey(2048, 1));
        EXPECT_FALSE(pair.peer.verify(view(counted(9)), view(stranger.sign(view(counted(9))))));
    });
}

TEST(AsymmetricKeys, DoNotDecryptWhatIsNotWholeBlocks) {
    forEachPolicy([](const Pair& pair) {
        const Bytes cipher = pair.peer.encrypt(view(counted(2 * pair.peer.plainBlockLength())));
        EXPECT_TRUE(pair.own.decrypt({}).empty());
        for (const std::size_t size : {std::size_t{1}, std::size_t{255}, std::size_t{257}, cipher.size() - 1})
            EXPECT_TRUE(pair.own.decrypt(view(cipher).first(size)).empty()) << size;
        EXPECT_EQ(pair.own.decrypt(view(cipher).first(256)), counted(pair.peer.plainBlockLength()));
    });
}

TEST(AsymmetricKeys, DoNotDecryptShortBlocksInFrontOfOthers) {
    forEachPolicy([](const Pair& pair) {
        Bytes cipher = pair.peer.encrypt(view(counted(pair.peer.plainBlockLength() - 1)));
        Bytes second = pair.peer.encrypt(view(counted(pair.peer.plainBlockLength())));
        cipher.insert(cipher.end(), second.begin(), second.end());
        EXPECT_TRUE(pair.own.decrypt(view(cipher)).empty());
    });
}

TEST(AsymmetricKeys, DecryptABoundedNumberOfBlocks) {
    forEachPolicy([](const Pair& pair) {
        Bytes most = counted(UaPkiOwnKey::mostBlocks * pair.peer.plainBlockLength());
        EXPECT_EQ(pair.own.decrypt(view(pair.peer.encrypt(view(most)))), most);
        most.push_back(0);
        EXPECT_TRUE(pair.own.decrypt(view(pair.peer.encrypt(view(most)))).empty());
    });
}

TEST(AsymmetricKeys, ChangedCipherTextNeverGivesTheText) {
    forEachPolicy([](const Pair& pair) {
        const Bytes plain = counted(2 * pair.peer.plainBlockLength());
        Bytes cipher = pair.peer.encrypt(view(plain));
        const bool alwaysSeen =
            pair.policy.asymmetricEncryption != UaPkiSecurityPolicy::Encryption::RsaPkcs15;
        for (std::size_t i = 0; i < cipher.size(); i += 7) {
            cipher[i] ^= 1;
            const Bytes decrypted = pair.own.decrypt(view(cipher));
            EXPECT_NE(decrypted, plain) << i;
            EXPECT_TRUE(decrypted.empty() || !alwaysSeen) << i;
            cipher[i] ^= 1;
        }
        // No residue of a modulus: what is not below it cannot be decrypted at all.
        EXPECT_TRUE(pair.own.decrypt(view(Bytes(512, 0xFF))).empty());
    });
}

TEST(AsymmetricKeys, EncryptNothingToNothing) {
    forEachPolicy([](const Pair& pair) { EXPECT_TRUE(pair.peer.encrypt({}).empty()); });
}

TEST(AsymmetricKeys, HoldThePolicysLimits) {
    forEachPolicy([](const Pair& pair) {
        const int minimum = pair.policy.minimumKeyBits;
        const int maximum = pair.policy.maximumKeyBits;
        const bool old = pair.policy.digest == UaPkiSecurityPolicy::Digest::Sha1;
        EXPECT_EQ(minimum, old ? 1024 : 2048);
        EXPECT_EQ(maximum, old ? 2048 : 4096);
        for (const int bits : {minimum - 1, minimum, maximum, maximum + 1}) {
            const UaByteString certificate = channel::certificateOf(channel::publicRsaKey(bits));
            const bool within = bits >= minimum && bits <= maximum;
            UaPkiPeerKey key;
            const UaStatus status = UaPkiPeerKey::open(pair.policy, certificate, Limits::Enforced, key);
            EXPECT_EQ(status.statusCode(), within ? OpcUa_Good : OpcUa_BadCertificatePolicyCheckFailed)
                << bits;
            EXPECT_EQ(key.isValid(), within);
            EXPECT_TRUE(UaPkiPeerKey::open(pair.policy, certificate, Limits::AlreadyDecidedOn, key).isGood());
            EXPECT_TRUE(key.isValid());
        }
    });
}

TEST(AsymmetricKeys, CanDoNothingWithKeysTooShortOrTooLong) {
    forEachPolicy([](const Pair& pair) {
        for (const int bits : {512, 527, 528, 529, 16384, 16385}) {
            const UaByteString certificate = channel::certificateOf(channel::publicRsaKey(bits));
            UaPkiPeerKey key;
            const UaStatus status =
                UaPkiPeerKey::open(pair.policy, certificate, Limits::AlreadyDecidedOn, key);
            const bool usable = bits == 529 || bits == 16384;
            EXPECT_EQ(status.statusCode(), usable ? OpcUa_Good : OpcUa_BadCertificatePolicyCheckFailed)
                << bits;
            EXPECT_EQ(key.isValid(), usable);
        }
        UaPkiOwnKey own;
        EXPECT_EQ(UaPkiOwnKey::open(pair.policy, Record(channel::rsaKey(512)).key(), own).statusCode(),
                  OpcUa_BadSecurityChecksFailed);
    });
}

TEST(AsymmetricKeys, AreRsaKeys) {
    forEachPolicy([](const Pair& pair) {
        for (const char* type : {"EC", "X25519", "ED25519", "DSA", "RSA-PSS"}) {
            const Key other = channel::otherKey(type);
            for (const Limits limits : {Limits::Enforced, Limits::AlreadyDecidedOn}) {
                UaPkiPeerKey peer = pair.peer;
                const UaStatus status =
                    UaPkiPeerKey::open(pair.policy, channel::certificateOf(other), limits, peer);
                EXPECT_EQ(status.statusCode(), OpcUa_BadCertificateInvalid) << type;
                EXPECT_FALSE(peer.isValid());
            }
            UaPkiOwnKey own = pair.own;
            EXPECT_EQ(UaPkiOwnKey::open(pair.policy, Record(other).key(), own).statusCode(),
                      OpcUa_BadSecurityChecksFailed)
                << type;
            EXPECT_FALSE(own.isValid());
        }
    });
}

TEST(PeerKey, IsTheFirstCertificates) {
    const UaPkiSecurityPolicy& basic = policy("Basic256Sha256");
    const UaByteString chain = channel::joined(channel::certificateOf(channel::rsaKey(2048)),
                                               channel::certificateOf(channel::publicRsaKey(4096)));
    UaPkiPeerKey key;
    ASSERT_TRUE(UaPkiPeerKey::open(basic, chain, Limits::Enforced, key).isGood());
    EXPECT_EQ(key.blockLength(), 256U);
}

TEST(PeerKey, NeedsACertificate) {
    const UaPkiSecurityPolicy& basic = policy("Basic256Sha256");
    const UaByteString whole = channel::certificateOf(channel::rsaKey(2048));
    UaPkiPeerKey key;
    for (const int length : {0, 1, 4, 100, whole.length() - 1}) {
        EXPECT_EQ(
            UaPkiPeerKey::open(basic, UaByteString(length, whole.data()), Limits::Enforced, key).statusCode(),
            OpcUa_BadCertificateInvalid);
        EXPECT_FALSE(key.isValid());
    }
}

TEST(OwnKey, NeedsAWholeRecordOfAnRsaKey) {
    const UaPkiSecurityPolicy& basic = policy("Basic256Sha256");
    const Bytes whole = Record(channel::rsaKey(2048)).bytes();
    auto open = [&basic](OpcUa_KeyType type, const Bytes& bytes) {
        UaPkiOwnKey key;
        const UaStatus status = UaPkiOwnKey::open(basic, Record(type, bytes).key(), key);
        EXPECT_EQ(status.isGood(), key.isValid());
        return status.statusCode();
    };
    Bytes longer = whole;
    longer.push_back(0);
    EXPECT_EQ(open(OpcUa_KeyType_RsaPrivate, whole), OpcUa_Good);
    EXPECT_EQ(open(OpcUa_KeyType_RsaPrivate, longer), OpcUa_BadSecurityChecksFailed);
    EXPECT_EQ(open(OpcUa_KeyType_RsaPrivate, Bytes(whole.begin(), whole.end() - 1)),
              OpcUa_BadSecurityChecksFailed);
    EXPECT_EQ(open(OpcUa_KeyType_RsaPrivate, {}), OpcUa_BadSecurityChecksFailed);
    EXPECT_EQ(open(OpcUa_KeyType_OtherPrivate, whole), OpcUa_BadSecurityChecksFailed);
    UaPkiOwnKey key;
    EXPECT_EQ(UaPkiOwnKey::open(basic, OpcUa_Key{}, key).statusCode(), OpcUa_BadSecurityChecksFailed);
}

TEST(AsymmetricKeysOfNothing, DoNothing) {
    const UaPkiPeerKey peer;
    const UaPkiOwnKey own;
    EXPECT_FALSE(peer.verify({}, {}));
    EXPECT_TRUE(peer.encrypt(view(counted(9))).empty());
    EXPECT_TRUE(own.sign(view(counted(9))).empty());
    EXPECT_TRUE(own.decrypt(view(counted(256))).empty());
    const UaPkiSecurityPolicy& none = UaPkiSecurityPolicy::none();
    UaPkiPeerKey openedPeer;
    UaPkiOwnKey openedOwn;
    const Key key = channel::rsaKey(2048);
    EXPECT_EQ(UaPkiPeerKey::open(none, channel::certificateOf(key), Limits::AlreadyDecidedOn, openedPeer)
                  .statusCode(),
              OpcUa_BadInvalidArgument);
    EXPECT_EQ(UaPkiOwnKey::open(none, Record(key).key(), openedOwn).statusCode(), OpcUa_BadInvalidArgument);
    EXPECT_FALSE(openedPeer.isValid() || openedOwn.isValid());
}

TEST(Thumbprint, IsTheFirstCertificates) {
    const UaByteString certificate = channel::certificateOf(channel::rsaKey(1024));
    const UaByteArray expected = UaPkiCertificate::fromDER(certificate).thumbPrint();
    const Bytes expectedBytes(expected.data(), expected.data() + expected.size());
    EXPECT_EQ(expectedBytes.size(), 20U);
    EXPECT_EQ(UaPkiThumbprint(certificate), expectedBytes);
    EXPECT_EQ(UaPkiThumbprint(channel::joined(certificate, certificate)), expectedBytes);
    const OpcUa_Byte further[] = {1, 2, 3};
    EXPECT_EQ(UaPkiThumbprint(channel::joined(certificate, UaByteString(3, further))), expectedBytes);
}

TEST(Thumbprint, NeedsACertificatesBeginning) {
    const UaByteString certificate = channel::certificateOf(channel::rsaKey(1024));
    for (const int length : {0, 1, 2, 3, 4, certificate.length() - 1})
        EXPECT_TRUE(UaPkiThumbprint(UaByteString(length, certificate.data())).empty()) << length;
    for (const char* other : {"3080", "308000000000", "04020000", "70020000",
                              "308FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF", "3084FFFFFFFF00", "300500"}) {
        const Bytes bytes = channel::fromHex(other);
        EXPECT_TRUE(UaPkiThumbprint(UaByteString(static_cast<int>(bytes.size()), bytes.data())).empty())
            << other;
    }
}

} // namespace
