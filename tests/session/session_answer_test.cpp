// What a server answers to the creation of a session, before any secret goes out to it.
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "session_security_fixture.h"
#include "uapki/certificate.h"

using security_peer::Endpoint;
using security_peer::Token;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using UaClientSdk::ConnectFailure;

namespace {

class SessionAnswer : public SessionSecurityTest {
protected:
    const Token anyone{anonymous, "anyone", ""};
    const Token name{byPassword, "name", ""};
    const Token clearName{byPassword, "clear", "None"};

    void expectRefused(OpcUa_StatusCode status, const std::string& why) {
        const UaStatus refused = check();
        EXPECT_STREQ(refused.name(), UaStatus(status).name()) << trace();
        EXPECT_THAT(trace(), HasSubstr("refused by this client: " + why));
        // It has been told, and is not the server's refusal.
        const std::string before = trace();
        security->explainFailure({ConnectFailure::Step::CreateSession, false}, refused);
        EXPECT_EQ(trace(), before);
    }
    void expectAccepted() { EXPECT_TRUE(check().isGood()) << trace(); }

    /// With these endpoints in the query, and those with the session.
    void answerOtherwise(const std::vector<Endpoint>& query, const std::vector<Endpoint>& session) {
        createSession(query);
        answer.setEndpoints(session);
    }
    void expectChanged(const std::vector<Endpoint>& query, const std::vector<Endpoint>& session) {
        answerOtherwise(query, session);
        expectRefused(UA_STATUSCODE_BADSECURITYCHECKSFAILED,
                      "the server's endpoints are not the same with the session as in the query before it: "
                      "one of the two lists was changed on the way");
    }
    void expectSame(const std::vector<Endpoint>& query, const std::vector<Endpoint>& session) {
        answerOtherwise(query, session);
        expectAccepted();
    }
};

// ---- nonce

TEST_F(SessionAnswer, ANonceThatIsTooShortIsRefusedOnEverySecuredChannel) {
    for (const UA_MessageSecurityMode mode : {signOnly, signAndEncrypt}) {
        for (const std::size_t length : {0U, 1U, 8U, 31U, 1025U}) {
            ask("Aes128_Sha256_RsaOaep", mode);
            createSession({endpoint({anyone})});
            answer.setNonce(length);
            expectRefused(UA_STATUSCODE_BADNONCEINVALID,
                          "the server's nonce for the session has " + std::to_string(length) + " bytes");
        }
        for (const std::size_t length : {32U, 33U, 64U, 1024U}) {
            createSession({endpoint({anyone})});
            answer.setNonce(length);
            expectAccepted();
        }
    }
}

TEST_F(SessionAnswer, WithoutSecurityAPasswordNeedsNoNonceButAUsersSignatureDoes) {
    ask("None", none);
    for (const std::size_t length : {0U, 1U, 31U}) {
        askAs(byPassword);
        createSession({endpoint({{byPassword, "name", "Basic256Sha256"}})});
        answer.setNonce(length);
        expectAccepted();
        askAs(byCertificate);
        createSession({endpoint({{byCertificate, "card", "Basic256Sha256"}})});
        answer.setNonce(length);
        expectRefused(UA_STATUSCODE_BADNONCEINVALID,
                      "the server's nonce for the session has " + std::to_string(length) + " bytes");
    }
    askAs(byPassword);
    createSession({endpoint({{byPassword, "name", "Basic256Sha256"}})});
    answer.setNonce(1025);
    expectRefused(UA_STATUSCODE_BADNONCEINVALID, "the server's nonce for the session has 1025 bytes");
}

// ---- certificate

TEST_F(SessionAnswer, AChainIsItsFirstCertificateWhereverItIsSent) {
    const security_peer::Identity& server = identity("server");
    for (const UaByteString* decided : {&server.certificate, &server.chain}) {
        for (const UaByteString* offered : {&server.certificate, &server.chain}) {
            for (const UaByteString* shown : {&server.certificate, &server.chain}) {
                info.serverCertificate = *decided;
                Endpoint offer = endpoint({anyone});
                offer.certificate = *offered;
                createSession({offer});
                EXPECT_EQ(security->channelSecurity().serverCertificate, server.certificate);
                answer.setCertificate(*shown);
                Endpoint again = offer;
                again.certificate = *shown;
                answer.setEndpoints({again});
                activateSession();
                EXPECT_TRUE(security_peer::isSignedBy(
                    identity("client").certificate, policyNamed("Basic256Sha256"),
                    security_peer::joined(server.certificate, answer.response().serverNonce),
                    activation.clientSignature));
            }
        }
    }
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(SessionAnswer, AnotherCertificateIsRefused) {
    const UaByteString others[]{security_peer::renewedCertificate(), identity("other").certificate,
                                UaByteString(), security_peer::bytesOf("no certificate")};
    for (const UaByteString& other : others) {
        createSession({endpoint({anyone})});
        answer.setCertificate(other);
        expectRefused(UA_STATUSCODE_BADCERTIFICATEUNTRUSTED,
                      "the server shows another certificate than the one that was decided on: " +
                          UaPkiCertificate::fromDER(other).description().text());
    }
}

TEST_F(SessionAnswer, WithoutSecurityTheCertificateCountsWhereTheUserNeedsIt) {
    ask("None", none);
    askAs(byPassword);
    createSession({endpoint({{byPassword, "name", "Basic256Sha256"}})});
    answer.setCertificate(UaByteString());
    expectAccepted();
    answer.setCertificate(identity("other").certificate);
    expectRefused(UA_STATUSCODE_BADCERTIFICATEUNTRUSTED, "the server shows another certificate");
    createSession({endpoint({name})});
    answer.setCertificate(identity("other").certificate);
    expectAccepted();
}

// ---- signature

TEST_F(SessionAnswer, OnlyTheServersOwnSignatureOverThisRequestIsAccepted) {
    const UaByteString& client = identity("client").certificate;
    for (const char* policy :
         {"Basic128Rsa15", "Basic256", "Basic256Sha256", "Aes128_Sha256_RsaOaep", "Aes256_Sha256_RsaPss"}) {
        ask(policy, signOnly);
        createSession({endpoint({anyone})});
        expectAccepted();
        const auto expectNoProof = [&] {
            expectRefused(UA_STATUSCODE_BADAPPLICATIONSIGNATUREINVALID,
                          "the server's signature does not prove that it has the key of its certificate "
                          "\"CN=server\"");
        };
        const UA_ByteString signature = answer.response().serverSignature.signature;
        std::vector<OpcUa_Byte> bytes(signature.data, signature.data + signature.length);
        for (const std::size_t position : {std::size_t{0}, bytes.size() / 2, bytes.size() - 1}) {
            std::vector<OpcUa_Byte> flipped = bytes;
            flipped[position] ^= 1;
            answer.setSignature(flipped);
            expectNoProof();
        }
        bytes.pop_back();
        answer.setSignature(bytes);
        expectNoProof();
        answer.setSignature({});
        expectNoProof();
        answer.sign(policyNamed(policy), identity("other").key, client, request.clientNonce);
        expectNoProof();
        answer.sign(policyNamed(policy), identity("server").key, identity("other").certificate,
                    request.clientNonce);
        expectNoProof();
        answer.sign(policyNamed(policy), identity("server").key, client, answer.response().serverNonce);
        expectNoProof();
    }
}

TEST_F(SessionAnswer, WithoutSecurityThereIsNoSignature) {
    ask("None", none);
    askAs(byPassword);
    createSession({endpoint({{byPassword, "name", "Basic256Sha256"}})});
    EXPECT_EQ(answer.response().serverSignature.signature.length, 0U);
    expectAccepted();
}

// ---- endpoints

TEST_F(SessionAnswer, WhatMayDifferDoesNotMatter) {
    askAs(byPassword);
    const Endpoint offer = endpoint({anyone, name});
    Endpoint elsewhere = offer;
    elsewhere.url = "opc.tcp://10.0.0.1:4841/inner";
    Endpoint bare = offer;
    bare.certificate.clear();
    Endpoint reordered = offer;
    std::swap(reordered.tokens[0], reordered.tokens[1]);
    const Endpoint unsecured{"None", none, {anyone}};
    expectSame({offer}, {elsewhere});
    expectSame({offer, elsewhere, unsecured}, {offer});
    expectSame({offer}, {offer, elsewhere, unsecured});
    expectSame({offer}, {bare});
    expectSame({offer}, {reordered});
    Endpoint https = endpoint({{byPassword, "other", "None"}});
    https.transport = "http://opcfoundation.org/UA-Profile/Transport/https-uabinary";
    expectSame({offer}, {https, offer});
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(SessionAnswer, AChangedListIsRefusedForEveryUser) {
    struct Row {
        UA_UserTokenType type;
        Token token;
    };
    for (const Row& row :
         {Row{anonymous, anyone}, Row{byPassword, name}, Row{byCertificate, {byCertificate, "card", ""}}}) {
        askAs(row.type);
        const Endpoint offer = endpoint({row.token});
        const auto changed = [&offer](auto change) {
            Endpoint other = offer;
            change(other);
            return std::vector<Endpoint>{other};
        };
        expectChanged({offer}, changed([](Endpoint& e) { e.level = 1; }));
        expectChanged({offer}, changed([](Endpoint& e) { e.certificate = identity("other").certificate; }));
        expectChanged({offer}, changed([](Endpoint& e) { e.certificate = security_peer::bytesOf("bytes"); }));
        expectChanged({offer}, changed([](Endpoint& e) { e.tokens[0].id = "changed"; }));
        expectChanged({offer}, changed([](Endpoint& e) { e.tokens[0].policy = "None"; }));
        expectChanged({offer}, changed([](Endpoint& e) { e.tokens[0].policy = "Basic256Sha256"; }));
        expectChanged({offer}, changed([](Endpoint& e) { e.tokens.push_back(e.tokens[0]); }));
        expectChanged({offer}, changed([](Endpoint& e) { e.tokens[0].issuedType = "issued"; }));
        expectChanged({offer}, changed([](Endpoint& e) { e.tokens.clear(); }));
        expectChanged({offer}, changed([](Endpoint& e) { e.mode = signOnly; }));
        expectChanged({offer}, changed([](Endpoint& e) { e.policy = "Basic256"; }));
        expectChanged({offer}, {offer, changed([](Endpoint& e) { e.tokens[0].id = "more"; })[0]});
    }
}

TEST_F(SessionAnswer, APasswordStaysWhereTheQueryWasChanged) {
    askAs(byPassword);
    ask("Basic256Sha256", signOnly);
    const Endpoint genuine = endpoint({name, clearName});
    const Endpoint stripped = endpoint({clearName});
    expectChanged({stripped}, {genuine});
    expectChanged({stripped, stripped}, {genuine});
    // The genuine endpoint beside one that attracts.
    const Endpoint attractive = endpoint({{byPassword, "attractive", "Aes256_Sha256_RsaPss"}});
    expectChanged({attractive, genuine}, {genuine});
    ask("None", none);
    expectChanged({endpoint({clearName})}, {endpoint({{byPassword, "name", "Basic256Sha256"}, clearName})});
}

TEST_F(SessionAnswer, AReadablePasswordStaysWhereTheQueryHidAnotherEndpoint) {
    askAs(byPassword);
    const Endpoint hidden{"Aes256_Sha256_RsaPss", signAndEncrypt, {name}};
    for (const auto& [policy, mode] : {std::pair("None", none), std::pair("Basic256Sha256", signOnly)}) {
        ask(policy, mode);
        expectChanged({endpoint({clearName})}, {endpoint({clearName}), hidden});
        expectSame({endpoint({{byPassword, "name", "Basic256"}})},
                   {endpoint({{byPassword, "name", "Basic256"}}), hidden});
    }
}

TEST_F(SessionAnswer, WithoutEndpointsInTheSessionOnlyAReadablePasswordStays) {
    const std::string why = "the password would go out in clear text, and the server does not confirm, with "
                            "the session, that its endpoint with ";
    askAs(byPassword);
    ask("Basic256Sha256", signOnly);
    answerOtherwise({endpoint({clearName})}, {});
    expectRefused(UA_STATUSCODE_BADSECURITYCHECKSFAILED, why + "Basic256Sha256 with mode Sign");
    expectSame({endpoint({name})}, {});
    ask("None", none);
    answerOtherwise({endpoint({clearName})}, {});
    expectRefused(UA_STATUSCODE_BADSECURITYCHECKSFAILED, why + "None with mode None");
    expectSame({endpoint({{byPassword, "name", "Basic256"}})}, {});
    ask("Basic256Sha256", signAndEncrypt);
    expectSame({endpoint({clearName})}, {});
    askAs(byCertificate);
    expectSame({endpoint({{byCertificate, "card", ""}})}, {});
    askAs(anonymous);
    expectSame({endpoint({anyone})}, {});
}

// A list as long as a message can hold is compared in one go through it.
TEST_F(SessionAnswer, LongListsAreCompared) {
    std::vector<Endpoint> many;
    for (int i = 0; i < 5000; ++i) {
        many.push_back(endpoint({{anonymous, std::to_string(i), ""}}));
        many.back().certificate.clear();
    }
    many.push_back(endpoint({anyone}));
    many.back().level = 1;
    expectSame(many, {many.rbegin(), many.rend()});
    std::vector<Endpoint> changed = many;
    changed[2500].level = 1;
    expectChanged(many, changed);
}

TEST_F(SessionAnswer, WithoutSecurityAndUserEverythingIsTaken) {
    ask("None", none);
    info.serverCertificate.clear();
    createSession({});
    answer.setNonce(0);
    answer.setCertificate(security_peer::bytesOf("anything"));
    answer.setEndpoints({{"Basic256", none, {{byPassword, "x", "Rot13"}}}});
    expectAccepted();
    EXPECT_THAT(trace(), IsEmpty());
}

} // namespace
