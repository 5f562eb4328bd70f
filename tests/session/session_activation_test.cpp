// What goes out to a server when a session is activated, and what the trace says when that fails.
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>
#include <string>
#include <vector>

#include <open62541/types_generated_handling.h>

#include "session_security_fixture.h"

using security_peer::Endpoint;
using security_peer::isSignedBy;
using security_peer::joined;
using security_peer::Token;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using UaClientSdk::ConnectFailure;
using Step = ConnectFailure::Step;

namespace {

const char* const policies[]{"Basic128Rsa15", "Basic256", "Basic256Sha256", "Aes128_Sha256_RsaOaep",
                             "Aes256_Sha256_RsaPss"};

/// What is searched for in every block of memory that is given back; empty while nobody searches.
std::string searched; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)
int leftBehind = 0;   // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

void inspect(const void* memory, std::size_t size) {
    if (!searched.empty() && memmem(memory, size, searched.data(), searched.size()) != nullptr)
        ++leftBehind;
}

} // namespace

void operator delete(void* memory) noexcept {
    if (memory != nullptr)
        inspect(memory, malloc_usable_size(memory));
    std::free(memory); // NOLINT(cppcoreguidelines-no-malloc)
}
void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    // Nothing that an earlier owner left may be taken for what is left behind now.
    return std::calloc(1, size == 0 ? 1 : size); // NOLINT(cppcoreguidelines-no-malloc)
}
void* operator new(std::size_t size) {
    void* memory = operator new(size, std::nothrow);
    return memory != nullptr ? memory : throw std::bad_alloc();
}

namespace {

class SessionActivation : public SessionSecurityTest {
protected:
    const Token anyone{anonymous, "anyone", ""};
    const Token name{byPassword, "name", ""};
    const Token card{byCertificate, "card", ""};
    const std::string clearTextWarning =
        "WARNING security | the password goes out in clear text: the endpoint offers nothing else";

    void connect(const std::vector<Token>& tokens) {
        createSession({endpoint(tokens)});
        activateSession();
    }

    /// What the server finds in the encrypted password.
    std::string decrypted(const std::string& policy) const {
        UaPkiOwnKey key;
        EXPECT_TRUE(UaPkiOwnKey::open(policyNamed(policy), identity("server").key, key).isGood());
        const std::vector<OpcUa_Byte> plain = key.decrypt(passwordToken()->password);
        return {plain.begin(), plain.end()};
    }
    std::string expectedPlain(const std::string& secret) const {
        const std::vector<OpcUa_Byte> nonce = answer.nonce();
        const std::size_t length = secret.size() + nonce.size();
        std::string plain{static_cast<char>(length & 0xFF), static_cast<char>(length >> 8 & 0xFF), 0, 0};
        plain += secret;
        plain.append(nonce.begin(), nonce.end());
        return plain;
    }
};

TEST_F(SessionActivation, ProvesThatTheClientHasItsKey) {
    for (const char* policy : policies) {
        ask(policy, signAndEncrypt);
        connect({anyone});
        EXPECT_TRUE(isSignedBy(identity("client").certificate, policyNamed(policy),
                               joined(identity("server").certificate, answer.response().serverNonce),
                               activation.clientSignature))
            << policy;
        ASSERT_NE(anonymousToken(), nullptr);
        EXPECT_EQ(UaString(anonymousToken()->policyId), UaString("anyone"));
        EXPECT_EQ(activation.userTokenSignature.signature.length, 0U);
    }
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(SessionActivation, EncryptsAPasswordAndNothingBehindIt) {
    for (const char* channel : {"None", "Basic256Sha256"}) {
        for (const char* policy : policies) {
            const bool secured = std::string(channel) != "None";
            ask(channel, secured ? signOnly : none);
            askAs(byPassword);
            connect({{byPassword, "clear", "None"}, {byPassword, "encrypted", policy}});
            ASSERT_NE(passwordToken(), nullptr);
            EXPECT_EQ(UaString(passwordToken()->policyId), UaString("encrypted"));
            EXPECT_EQ(UaString(passwordToken()->userName), UaString("operator"));
            EXPECT_EQ(UaString(passwordToken()->encryptionAlgorithm),
                      UaString(policyNamed(policy).asymmetricEncryptionUri));
            EXPECT_EQ(passwordToken()->password.length, 256U);
            EXPECT_EQ(decrypted(policy), expectedPlain(password)) << policy;
            EXPECT_EQ(activation.clientSignature.signature.length, secured ? 256U : 0U);
            EXPECT_EQ(activation.userTokenSignature.signature.length, 0U);
        }
    }
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(SessionActivation, EncryptsPasswordsOfAnyLength) {
    for (const std::size_t length : {0U, 1U, 178U, 179U, 1000U}) {
        const std::string secret(length, 'x');
        info.setUserPasswordUserIdentity("operator", secret);
        connect({name});
        EXPECT_EQ(decrypted("Basic256Sha256"), expectedPlain(secret)) << length;
    }
}

TEST_F(SessionActivation, EncryptsThePasswordAloneWhereTheServerHasNoNonce) {
    ask("None", none);
    askAs(byPassword);
    createSession({endpoint({{byPassword, "name", "Aes256_Sha256_RsaPss"}})});
    answer.setNonce(0);
    activateSession();
    EXPECT_EQ(decrypted("Aes256_Sha256_RsaPss"),
              std::string("\x19\0\0\0", 4) + password); // 25 bytes, and nothing else
}

TEST_F(SessionActivation, WarnsOfAPasswordInClearText) {
    askAs(byPassword);
    for (const UA_MessageSecurityMode mode : {none, signOnly}) {
        ask(mode == none ? "None" : "Basic256", mode);
        const std::string before = trace();
        createSession({endpoint({{byPassword, "clear", "None"}})});
        ASSERT_TRUE(check().isGood());
        EXPECT_EQ(trace(), before);
        ASSERT_TRUE(activate().isGood());
        EXPECT_THAT(trace().substr(before.size()), HasSubstr(clearTextWarning));
        ASSERT_NE(passwordToken(), nullptr);
        EXPECT_EQ(UaByteString(passwordToken()->password), security_peer::bytesOf(password));
        EXPECT_EQ(passwordToken()->encryptionAlgorithm.length, 0U);
    }
}

TEST_F(SessionActivation, DoesNotWarnWhereTheChannelEncrypts) {
    askAs(byPassword);
    connect({{byPassword, "clear", "None"}});
    ASSERT_NE(passwordToken(), nullptr);
    EXPECT_EQ(UaByteString(passwordToken()->password), security_peer::bytesOf(password));
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(SessionActivation, SignsForAUserWithACertificate) {
    const UaByteString& user = identity("user").certificate;
    askAs(byCertificate);
    info.serverCertificate = identity("server").chain;
    for (const char* channel : {"None", "Basic256Sha256"}) {
        for (const char* policy : policies) {
            const bool secured = std::string(channel) != "None";
            ask(channel, secured ? signAndEncrypt : none);
            createSession({endpoint({{byCertificate, "card", policy}})});
            answer.setCertificate(identity("server").chain);
            activateSession();
            ASSERT_NE(certificateToken(), nullptr);
            EXPECT_EQ(UaString(certificateToken()->policyId), UaString("card"));
            EXPECT_EQ(UaByteString(certificateToken()->certificateData), user);
            // Servers verify their own certificate, without its issuers.
            EXPECT_TRUE(isSignedBy(user, policyNamed(policy),
                                   joined(identity("server").certificate, answer.response().serverNonce),
                                   activation.userTokenSignature))
                << policy;
        }
    }
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(SessionActivation, SignsNothingForAUserWhereNobodyAsksForIt) {
    askAs(byCertificate);
    connect({{byCertificate, "card", "None"}});
    ASSERT_NE(certificateToken(), nullptr);
    EXPECT_EQ(activation.userTokenSignature.signature.length, 0U);
}

TEST_F(SessionActivation, WithoutSecurityTheAnswerTellsHowAnonymousUsersAreCalled) {
    ask("None", none);
    info.serverCertificate.clear();
    createSession({});
    answer.setEndpoints({{"Basic256Sha256", signAndEncrypt, {{anonymous, "secured", ""}}},
                         {"None", none, {{byPassword, "name", ""}, {anonymous, "unsecured", ""}}}});
    activateSession();
    ASSERT_NE(anonymousToken(), nullptr);
    EXPECT_EQ(UaString(anonymousToken()->policyId), UaString("unsecured"));
    EXPECT_EQ(activation.clientSignature.signature.length, 0U);
    // Where there are none, no token is sent.
    createSession({});
    answer.setEndpoints({{"Basic256Sha256", signAndEncrypt, {{anonymous, "secured", ""}}},
                         {"None", none, {{byPassword, "name", ""}}}});
    activateSession();
    EXPECT_EQ(activation.userIdentityToken.encoding, UA_EXTENSIONOBJECT_ENCODED_NOBODY);
    createSession({});
    activateSession();
    EXPECT_EQ(activation.userIdentityToken.encoding, UA_EXTENSIONOBJECT_ENCODED_NOBODY);
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(SessionActivation, CanBeEncoded) {
    askAs(byPassword);
    connect({name});
    UA_ByteString bytes = UA_BYTESTRING_NULL;
    const UA_DataType& type = UA_TYPES[UA_TYPES_ACTIVATESESSIONREQUEST];
    ASSERT_EQ(UA_encodeBinary(&activation, &type, &bytes), UA_STATUSCODE_GOOD);
    UA_ActivateSessionRequest read;
    ASSERT_EQ(UA_decodeBinary(&bytes, &read, &type, nullptr), UA_STATUSCODE_GOOD);
    EXPECT_TRUE(UA_order(&activation.clientSignature, &read.clientSignature,
                         &UA_TYPES[UA_TYPES_SIGNATUREDATA]) == UA_ORDER_EQ);
    ASSERT_EQ(read.userIdentityToken.content.decoded.type, &UA_TYPES[UA_TYPES_USERNAMEIDENTITYTOKEN]);
    const auto* token =
        static_cast<const UA_UserNameIdentityToken*>(read.userIdentityToken.content.decoded.data);
    EXPECT_EQ(UaString(token->userName), UaString("operator"));
    UA_clear(&read, &type);
    UA_ByteString_clear(&bytes);
}

TEST_F(SessionActivation, LeavesNoPasswordBehind) {
    info.setUserPasswordUserIdentity("operator", "n0body-reads-th1s-0ne");
    createSession({endpoint({name})});
    ASSERT_TRUE(check().isGood()) << trace();
    searched = "n0body-reads-th1s-0ne";
    const UaStatus status = activate();
    security.reset();
    const int found = leftBehind;
    // The search itself works.
    {
        const std::vector<char> unwiped(searched.begin(), searched.end());
    }
    EXPECT_EQ(leftBehind, found + 1);
    searched.clear();
    EXPECT_TRUE(status.isGood());
    EXPECT_EQ(found, 0);
}

TEST_F(SessionActivation, LeavesNoTokenBehind) {
    for (const bool isSigned : {false, true}) {
        askAs(isSigned ? byCertificate : byPassword);
        createSession({endpoint({isSigned ? card : name})});
        ASSERT_TRUE(check().isGood()) << trace();
        ASSERT_TRUE(activate().isGood()) << trace();
        const UA_ByteString& token =
            isSigned ? activation.userTokenSignature.signature : passwordToken()->password;
        const std::string bytes(reinterpret_cast<const char*>(token.data), token.length);
        searched = bytes;
        const int before = leftBehind;
        security.reset();
        EXPECT_EQ(leftBehind, before);
        searched.clear();
    }
}

TEST_F(SessionActivation, TellsNoSecretToTheTrace) {
    traceEverything();
    askAs(byPassword);
    createSession({endpoint({name})});
    activateSession();
    for (const Step step : {Step::OpenChannel, Step::CreateSession, Step::ActivateSession})
        security->explainFailure({step, true}, UA_STATUSCODE_BADIDENTITYTOKENREJECTED);
    answer.setNonce(3);
    EXPECT_TRUE(check().isBad());
    ask("None", none);
    createSession({endpoint({{byPassword, "clear", ""}})});
    activateSession();
    EXPECT_THAT(trace(), AllOf(HasSubstr("operator"), HasSubstr(clearTextWarning), Not(HasSubstr(password))));
}

// ---- failures

class SessionFailure : public SessionActivation {
protected:
    /// What the trace says about it.
    std::string explained(Step step, bool byPeer, OpcUa_StatusCode status) {
        const std::size_t before = trace().size();
        security->explainFailure({step, byPeer}, status);
        return trace().substr(before);
    }
};

TEST_F(SessionFailure, OfTheServerIsTheServers) {
    askAs(byPassword);
    createSession({endpoint({name})});
    EXPECT_THAT(
        explained(Step::OpenChannel, true, UA_STATUSCODE_BADSECURITYCHECKSFAILED),
        AllOf(
            HasSubstr("ERROR security | refused by the server opc.tcp://plant:4840 while opening the secure "
                      "channel: BadSecurityChecksFailed; asked for Basic256Sha256 with mode SignAndEncrypt; "
                      "does the server trust this client's own certificate \"CN=client\", thumbprint "),
            HasSubstr(", from own.der, and has it still its own certificate \"CN=server\", thumbprint ")));
    EXPECT_THAT(explained(Step::CreateSession, true, UA_STATUSCODE_BADTOOMANYSESSIONS),
                HasSubstr("refused by the server opc.tcp://plant:4840 while creating the session: "
                          "BadTooManySessions; asked for "));
    EXPECT_THAT(explained(Step::ActivateSession, true, UA_STATUSCODE_BADUSERACCESSDENIED),
                HasSubstr("refused by the server opc.tcp://plant:4840 while activating the session for its "
                          "user: BadUserAccessDenied; the user is user name \"operator\"\n"));
}

TEST_F(SessionFailure, OfThisSideIsNotTheServers) {
    createSession({endpoint({anyone})});
    EXPECT_THAT(explained(Step::OpenChannel, false, UA_STATUSCODE_BADCERTIFICATEUNTRUSTED),
                HasSubstr("refused by this client: the server opc.tcp://plant:4840 while opening the secure "
                          "channel: BadCertificateUntrusted; asked for "));
}

TEST_F(SessionFailure, WithoutAnAnswerIsNobodysRefusal) {
    createSession({endpoint({anyone})});
    for (const bool byPeer : {true, false}) {
        const std::string text = explained(Step::ActivateSession, byPeer, UA_STATUSCODE_BADTIMEOUT);
        EXPECT_THAT(text, HasSubstr("no answer in time from the server opc.tcp://plant:4840 while activating "
                                    "the session for its user"));
        EXPECT_THAT(text, Not(HasSubstr("refused")));
    }
}

TEST_F(SessionFailure, ThatTheServerItselfCallsATimeOutIsTheServers) {
    createSession({endpoint({anyone})});
    security->explainFailure({Step::CreateSession, true, true}, UA_STATUSCODE_BADTIMEOUT);
    EXPECT_THAT(trace(), AllOf(HasSubstr("refused by the server opc.tcp://plant:4840 while creating the "
                                         "session: BadTimeout"),
                               Not(HasSubstr("no answer in time"))));
}

TEST_F(SessionFailure, ToReachTheServerIsToldElsewhere) {
    createSession({endpoint({anyone})});
    EXPECT_EQ(explained(Step::Reach, false, UA_STATUSCODE_BADCONNECTIONREJECTED), "");
}

TEST_F(SessionFailure, WithoutSecurityHasNoHints) {
    ask("None", none);
    info.serverCertificate.clear();
    createSession({});
    EXPECT_THAT(explained(Step::CreateSession, true, UA_STATUSCODE_BADTOOMANYSESSIONS),
                HasSubstr("while creating the session: BadTooManySessions\n"));
}

TEST_F(SessionFailure, AfterAnOwnRefusalOfAnEarlierAnswerIsToldAgain) {
    createSession({endpoint({anyone})});
    answer.setNonce(1);
    ASSERT_TRUE(check().isBad());
    answer.setNonce(32);
    activateSession();
    EXPECT_THAT(explained(Step::ActivateSession, true, UA_STATUSCODE_BADUSERACCESSDENIED),
                HasSubstr("the user is anonymous"));
}

} // namespace
