#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "security_peer.h"
#include "session/session_security.h"
#include "support/temporary_directory.h"
#include "support/text_file.h"
#include "uabase/trace.h"

constexpr UA_MessageSecurityMode none = UA_MESSAGESECURITYMODE_NONE;
constexpr UA_MessageSecurityMode signOnly = UA_MESSAGESECURITYMODE_SIGN;
constexpr UA_MessageSecurityMode signAndEncrypt = UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;

constexpr UA_UserTokenType anonymous = UA_USERTOKENTYPE_ANONYMOUS;
constexpr UA_UserTokenType byPassword = UA_USERTOKENTYPE_USERNAME;
constexpr UA_UserTokenType byCertificate = UA_USERTOKENTYPE_CERTIFICATE;

/// One attempt to connect, step by step, with a server that answers as it should until a test changes that.
class SessionSecurityTest : public testing::Test {
protected:
    static constexpr const char* password = "pa55-w0rd-of-the-operator";

    SessionSecurityTest() {
        openTrace(UaTrace::Warnings);
        info.useOwn(identity("client"));
        info.doServerCertificateVerify = false;
        ask("Basic256Sha256", signAndEncrypt);
        info.serverCertificate = identity("server").certificate;
    }
    ~SessionSecurityTest() override { UaTrace::closeTrace(); }

    static const security_peer::Identity& identity(const char* name, int bits = 2048) {
        return security_peer::identity(name, bits);
    }
    static const UaPkiSecurityPolicy& policyNamed(const std::string& name) {
        return *UaPkiSecurityPolicy::find(security_peer::policyUri(name));
    }

    void ask(const std::string& policy, UA_MessageSecurityMode mode) {
        info.securityPolicyUri = security_peer::policyUri(policy);
        info.messageSecurityMode = mode;
    }
    void askAs(UA_UserTokenType type) {
        const security_peer::Identity& user = identity("user");
        if (type == byPassword)
            info.setUserPasswordUserIdentity("operator", password);
        else if (type == byCertificate)
            info.setCertificateUserIdentity(user.certificate, UaByteString(user.key.bytes));
        else
            info.setAnonymousUserIdentity();
    }

    /// An endpoint with what is asked for.
    security_peer::Endpoint endpoint(const std::vector<security_peer::Token>& tokens) const {
        return {info.securityPolicyUri.text(), info.messageSecurityMode, tokens};
    }

    UaStatus prepare(const std::vector<security_peer::Endpoint>& offers) {
        info.offer(offers);
        security = std::make_unique<UaClientSdk::SessionSecurity>(info, url);
        return security->prepare();
    }

    /// Everything up to the server's answer.
    void createSession(const std::vector<security_peer::Endpoint>& offers,
                       const security_peer::Identity& server = identity("server")) {
        ASSERT_TRUE(prepare(offers).isGood()) << trace();
        request = {};
        ASSERT_TRUE(security->fill(request).isGood());
        answer.setNonce(32);
        answer.setCertificate(server.certificate);
        answer.setEndpoints(offers);
        const UaPkiSecurityPolicy* policy = UaPkiSecurityPolicy::find(info.securityPolicyUri);
        if (!policy->isNone())
            answer.sign(*policy, server.key, identity("client").certificate, request.clientNonce);
    }

    UaStatus check() { return security->check(answer.response()); }
    UaStatus activate() {
        activation = {};
        return security->fill(activation, answer.response());
    }

    /// Checks the answer, and sends the user's token.
    void activateSession() {
        ASSERT_TRUE(check().isGood()) << trace();
        ASSERT_TRUE(activate().isGood()) << trace();
    }

    /// The token of the activation; null when it is of another type.
    template <typename TokenType>
    const TokenType* token(const UA_DataType& type) const {
        const UA_ExtensionObject& content = activation.userIdentityToken;
        return content.encoding == UA_EXTENSIONOBJECT_DECODED_NODELETE &&
                       content.content.decoded.type == &type
                   ? static_cast<const TokenType*>(content.content.decoded.data)
                   : nullptr;
    }
    const UA_UserNameIdentityToken* passwordToken() const {
        return token<UA_UserNameIdentityToken>(UA_TYPES[UA_TYPES_USERNAMEIDENTITYTOKEN]);
    }
    const UA_X509IdentityToken* certificateToken() const {
        return token<UA_X509IdentityToken>(UA_TYPES[UA_TYPES_X509IDENTITYTOKEN]);
    }
    const UA_AnonymousIdentityToken* anonymousToken() const {
        return token<UA_AnonymousIdentityToken>(UA_TYPES[UA_TYPES_ANONYMOUSIDENTITYTOKEN]);
    }
    /// The token policy that was chosen.
    std::string chosenToken() const {
        const UA_ExtensionObject& content = activation.userIdentityToken;
        // The policy id comes first in each of them.
        return content.content.decoded.data == nullptr
                   ? "none"
                   : UaString(*static_cast<const UA_String*>(content.content.decoded.data)).text();
    }

    void traceEverything() { openTrace(UaTrace::Everything); }
    std::string trace() const { return test_support::contentOf(m_traceFile); }

    const UaString url{"opc.tcp://plant:4840"};
    security_peer::Info info;
    std::unique_ptr<UaClientSdk::SessionSecurity> security;
    UA_CreateSessionRequest request{};
    security_peer::Answer answer;
    UA_ActivateSessionRequest activation{};

private:
    void openTrace(UaTrace::TraceLevel level) {
        UaTrace::initTrace(level, 1000, 1, UaString(m_traceFile.c_str()), "test");
    }

    test_support::TemporaryDirectory m_directory;
    const std::string m_traceFile = (m_directory.path() / "trace.log").string();
};
