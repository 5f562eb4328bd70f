// What becomes of the cryptography once the application, or the end of its process, has cleaned OpenSSL up.
// It does so for good, hence in processes of their own.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/crypto.h>

#include "channel_material.h"
#include "openssl_use.h"
#include "uapki/asymmetric_keys.h"
#include "uapki/certificate.h"
#include "uapki/certificate_verifier.h"
#include "uapki/provider.h"
#include "uapki/symmetric_keys.h"

using channel::Bytes;
using channel::counted;
using channel::view;

namespace {

void expect(bool condition, const char* what) {
    if (condition)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::_Exit(1);
}

struct Material {
    const UaPkiSecurityPolicy& policy = channel::policy("Basic256Sha256");
    const channel::Key key = channel::rsaKey(2048);
    const UaByteString der = channel::certificateOf(key);
    const channel::Record record{key};
    const UaPkiCertificate certificate = UaPkiCertificate::fromDER(der);
    UaPkiPeerKey peer;
    UaPkiOwnKey own;
    UaPkiSymmetricKeys keys;

    Material() {
        expect(UaPkiPeerKey::open(policy, der, UaPkiPeerKey::Limits::Enforced, peer).isGood(), "peer's key");
        expect(UaPkiOwnKey::open(policy, record.key(), own).isGood(), "own key");
        keys = UaPkiSymmetricKeys(policy, view(counted(32)), view(counted(32)));
        expect(keys.isValid() && certificate.isValid(), "keys and certificate");
    }
};

void refuseKeys() {
    const Material made;
    const Bytes cipher = made.peer.encrypt(view(counted(10)));
    const Bytes signature = made.own.sign(view(counted(10)));
    OPENSSL_cleanup();
    UaPkiPeerKey peer;
    UaPkiOwnKey own;
    expect(UaPkiPeerKey::open(made.policy, made.der, UaPkiPeerKey::Limits::Enforced, peer).isBad(),
           "no peer");
    expect(UaPkiOwnKey::open(made.policy, made.record.key(), own).isBad(), "no own key");
    expect(made.peer.encrypt(view(counted(10))).empty(), "nothing encrypted");
    expect(!made.peer.verify(view(counted(10)), view(signature)), "nothing verified");
    expect(made.own.sign(view(counted(10))).empty(), "nothing signed");
    expect(made.own.decrypt(view(cipher)).empty(), "nothing decrypted");
    expect(!UaPkiSymmetricKeys(made.policy, view(counted(32)), view(counted(32))).isValid(), "no keys");
    expect(!UaPkiRsaKeyPair(2048).isValid(), "no pair");
    OpcUa_Key key{};
    UaPkiProviderOpenSSL provider("", "");
    expect(provider.loadPrivateKey("/dev/null", OpcUa_KeyEncoding_Pem, nullptr, &key).isBad(), "no key file");
}

void refuseRandomNumbers() {
    Bytes bytes(8);
    expect(UaPkiRandomBytes(bytes.data(), bytes.size()), "random numbers");
    OPENSSL_cleanup();
    expect(!UaPkiRandomBytes(bytes.data(), bytes.size()), "no random numbers");
    expect(UaPkiRandomBytes(nullptr, 0), "none of them");
}

void refuseCertificates() {
    const Material made;
    OPENSSL_cleanup();
    const UaPkiCertificate& certificate = made.certificate;
    expect(UaPkiCertificate::fromDER(made.der).isNull(), "nothing read");
    expect(UaPkiCertificate::probeDERFile("/dev/null").statusCode() == OpcUa_BadNotReadable, "nobody knows");
    expect(!certificate.isValid() && certificate.toDER().length() == 0, "not usable");
    expect(certificate.toDERFile("/nowhere/at/all") == -1, "not written");
    expect(certificate.commonName().isEmpty() && certificate.issuer().commonName.isEmpty(), "no names");
    expect(certificate.info().dnsNames.empty() && certificate.serialNumber().isEmpty(), "no information");
    expect(certificate.thumbPrint().size() == 0 && UaPkiThumbprint(made.der).empty(), "no thumbprint");
    expect(!certificate.description().isEmpty(), "a description");
    expect(!certificate.matchesPrivateKey(made.record.key()), "nobody's");
    const UaPkiStore store(UaPkiStoreLocations{"/nowhere", {}, {}, {}});
    expect(store.saveTrusted(certificate, "name").isBad(), "not saved");
    const UaPkiVerification result =
        UaPkiCertificateVerifier(store).verify(made.der, "urn:any", made.policy.uri, UaDateTime::now());
    expect(result.status.isBad() && result.findings.size() == 1, "not verified");
}

void protectMessages() {
    Material made;
    UaPkiSymmetricKeys peer(made.policy, view(counted(32)), view(counted(32)));
    OPENSSL_cleanup();
    Bytes data = counted(64);
    Bytes signature(made.policy.signatureLength);
    expect(made.keys.sign(view(data), signature.data()) && made.keys.encrypt(data.data(), data.size()),
           "sent");
    expect(peer.decrypt(data.data(), data.size()) && peer.verify(view(data), view(signature)), "taken");
    expect(data == counted(64), "as it was");
}

bool isPossibleElsewhere() {
    return std::async(std::launch::async, [] { return pki::OpenSslUse().isPossible(); }).get();
}

void waitForAUseUnderWay() {
    std::promise<void> begun;
    std::atomic<bool> isOver{false};
    std::thread user([&begun, &isOver] {
        const pki::OpenSslUse use;
        begun.set_value();
        while (isPossibleElsewhere()) {
        }
        expect(pki::OpenSslUse().isPossible(), "a use goes on to its end");
        isOver = true;
    });
    begun.get_future().get();
    OPENSSL_cleanup();
    expect(isOver, "it is over before the cleanup");
    user.join();
}

template <typename Checks>
[[noreturn]] void run(Checks checks) {
    checks();
    std::exit(0);
}

TEST(CleanedUpDeathTest, NoKeyIsUsed) {
    EXPECT_EXIT(run(refuseKeys), testing::ExitedWithCode(0), "");
}

TEST(CleanedUpDeathTest, ThereAreNoRandomNumbers) {
    EXPECT_EXIT(run(refuseRandomNumbers), testing::ExitedWithCode(0), "");
}

TEST(CleanedUpDeathTest, NoCertificateIsRead) {
    EXPECT_EXIT(run(refuseCertificates), testing::ExitedWithCode(0), "");
}

TEST(CleanedUpDeathTest, KeysThatAreThereProtectMessagesAsBefore) {
    EXPECT_EXIT(run(protectMessages), testing::ExitedWithCode(0), "");
}

TEST(CleanedUpDeathTest, WhatIsUnderWayIsWaitedFor) {
    EXPECT_EXIT(run(waitForAUseUnderWay), testing::ExitedWithCode(0), "");
}

} // namespace
