#include <cstdarg>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <open62541/client_config_default.h>
#include <open62541/plugin/pki_default.h>
#include <open62541/plugin/securitypolicy_default.h>

#include "plant_fixture.h"
#include "support/temporary_directory.h"
#include "support/text_file.h"
#include "uapki/certificate.h"

using test_support::contentOf;
using test_support::RawClient;
using test_support::TemporaryDirectory;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const std::string policyPrefix = "http://opcfoundation.org/UA/SecurityPolicy#";
const std::vector<std::string> newerPolicies{"Basic256Sha256", "Aes128_Sha256_RsaOaep",
                                             "Aes256_Sha256_RsaPss"};
const std::vector<std::string> allPolicies{"Basic256Sha256", "Aes128_Sha256_RsaOaep", "Aes256_Sha256_RsaPss",
                                           "Basic256", "Basic128Rsa15"};
const std::string clientUri = "urn:kestrova:plant-test:client";
const std::string userUri = "urn:kestrova:plant-test:anna";
const std::string serverUri = "urn:kestrova:plant-server";

UA_ByteString view(const std::string& text) {
    return {text.size(), reinterpret_cast<UA_Byte*>(const_cast<char*>(text.data()))};
}

std::string text(const UA_String& string) {
    return {reinterpret_cast<const char*>(string.data), string.length};
}

/// Signs others' certificates; its own is in a file.
struct Authority {
    Authority(const std::filesystem::path& folder, const std::string& name)
        : keys(2048), certificateFile(folder / (name + ".der")) {
        identity.commonName = name;
        UaPkiCertificateInfo info;
        info.backdateTime = 60;
        info.validTime = 3600;
        const UaPkiCertificate made(info, identity, keys.publicKey(), identity, keys.privateKey(), true,
                                    UaPkiCertificate::Sha256);
        EXPECT_EQ(made.toDERFile(certificateFile.c_str()), 0);
    }

    UaPkiIdentity identity;
    UaPkiRsaKeyPair keys;
    std::string certificateFile;
};

/// A certificate and its key, in files and in memory.
struct Credentials {
    Credentials(const std::filesystem::path& folder, const Authority& issuer, const std::string& name,
                const std::string& uri)
        : Credentials(folder, name, uri, 60, 3600, &issuer) {}
    Credentials(const std::filesystem::path& folder, const std::string& name, const std::string& uri,
                OpcUa_UInt32 backdate = 60, OpcUa_Int64 validTime = 3600, const Authority* issuer = nullptr)
        : keys(2048), certificateFile(folder / (name + ".der")), keyFile(folder / (name + ".key")) {
        identity.commonName = name;
        info.uri = uri;
        info.backdateTime = backdate;
        info.validTime = validTime;
        const UaPkiCertificate made(
            info, identity, keys.publicKey(), issuer == nullptr ? identity : issuer->identity,
            (issuer == nullptr ? keys : issuer->keys).privateKey(), false, UaPkiCertificate::Sha256);
        EXPECT_EQ(made.toDERFile(certificateFile.c_str()), 0);
        EXPECT_EQ(keys.toPEMFile(keyFile.c_str(), nullptr), 0);
        certificate = contentOf(certificateFile);
        key = contentOf(keyFile);
    }

    UaPkiIdentity identity;
    UaPkiCertificateInfo info;
    UaPkiRsaKeyPair keys;
    std::string certificateFile;
    std::string keyFile;
    std::string certificate;
    std::string key;
};

void addLegacyPolicies(UA_SecurityPolicy*& policies, std::size_t& count, const Credentials& credentials) {
    policies = static_cast<UA_SecurityPolicy*>(UA_realloc(policies, (count + 2) * sizeof(UA_SecurityPolicy)));
    static const UA_Logger silent{[](void*, UA_LogLevel, UA_LogCategory, const char*, va_list) {}, nullptr,
                                  nullptr};
    for (const auto make : {UA_SecurityPolicy_Basic256, UA_SecurityPolicy_Basic128Rsa15})
        if (make(&policies[count], view(credentials.certificate), view(credentials.key), &silent) ==
            UA_STATUSCODE_GOOD)
            ++count;
}

/// What a server offers.
class Endpoints {
public:
    explicit Endpoints(const std::string& url) {
        const RawClient asker;
        EXPECT_EQ(UA_Client_getEndpoints(asker.get(), url.c_str(), &m_count, &m_endpoints),
                  UA_STATUSCODE_GOOD);
    }
    ~Endpoints() { UA_Array_delete(m_endpoints, m_count, &UA_TYPES[UA_TYPES_ENDPOINTDESCRIPTION]); }
    Endpoints(const Endpoints&) = delete;
    Endpoints& operator=(const Endpoints&) = delete;

    const UA_EndpointDescription* begin() const { return m_endpoints; }
    const UA_EndpointDescription* end() const { return m_endpoints + m_count; }

    const UA_EndpointDescription* find(const std::string& policy, UA_MessageSecurityMode mode) const {
        for (const UA_EndpointDescription& endpoint : *this)
            if (text(endpoint.securityPolicyUri) == policyPrefix + policy && endpoint.securityMode == mode)
                return &endpoint;
        return nullptr;
    }

private:
    UA_EndpointDescription* m_endpoints = nullptr;
    std::size_t m_count = 0;
};

/// The stack's client with a certificate of its own, and a choice of endpoint.
class SecureClient : public RawClient {
public:
    /// Logs in as `user` when there is one.
    explicit SecureClient(const Credentials& own, const Credentials* user = nullptr) {
        EXPECT_EQ(UA_ClientConfig_setDefaultEncryption(config(), view(own.certificate), view(own.key),
                                                       nullptr, 0, nullptr, 0),
                  UA_STATUSCODE_GOOD);
        // The engine's releases differ in whom they trust without a list.
        UA_CertificateVerification_AcceptAll(&config()->certificateVerification);
        if (user != nullptr) {
            EXPECT_EQ(
                UA_ClientConfig_setAuthenticationCert(config(), view(user->certificate), view(user->key)),
                UA_STATUSCODE_GOOD);
        }
        // Last: the call above shrinks the list of policies before it clears what was in it.
        addLegacyPolicies(config()->securityPolicies, config()->securityPoliciesSize, own);
        addLegacyPolicies(config()->authSecurityPolicies, config()->authSecurityPoliciesSize,
                          user == nullptr ? own : *user);
        UA_String_clear(&config()->clientDescription.applicationUri);
        config()->clientDescription.applicationUri = UA_STRING_ALLOC(clientUri.c_str());
    }

    UA_ClientConfig* config() const { return UA_Client_getConfig(get()); }

    /// Fixes the endpoint: no second connection, as there is when the stack asks for the endpoints itself.
    void choose(const Endpoints& endpoints, const std::string& policy, UA_MessageSecurityMode mode) {
        const UA_EndpointDescription* endpoint = endpoints.find(policy, mode);
        ASSERT_NE(endpoint, nullptr) << policy;
        UA_EndpointDescription_clear(&config()->endpoint);
        ASSERT_EQ(UA_EndpointDescription_copy(endpoint, &config()->endpoint), UA_STATUSCODE_GOOD);
    }
};

} // namespace

class PlantSecurity : public PlantTest {
protected:
    using Modes = std::vector<UA_MessageSecurityMode>;

    std::string latest(RawClient& reader, const std::string& name) {
        return reader.read(rack("Diagnostics.Latest" + name)).text();
    }

    /// Policy, mode and number of identities of each endpoint.
    std::vector<std::string> offered() {
        std::vector<std::string> names;
        for (const UA_EndpointDescription& endpoint : Endpoints(server->url()))
            names.push_back(text(endpoint.securityPolicyUri).substr(policyPrefix.size()) + " " +
                            std::to_string(endpoint.securityMode) + " " +
                            std::to_string(endpoint.userIdentityTokensSize));
        return names;
    }

    const Modes secureModes{UA_MESSAGESECURITYMODE_SIGN, UA_MESSAGESECURITYMODE_SIGNANDENCRYPT};
    TemporaryDirectory folder;
};

TEST_F(PlantSecurity, EndpointsComeInADocumentedOrderEachWithThreeIdentities) {
    server.emplace(std::vector<std::string>{"--legacy"});
    EXPECT_THAT(offered(), ElementsAre("None 1 3", "Basic256Sha256 2 3", "Basic256Sha256 3 3",
                                       "Aes128_Sha256_RsaOaep 2 3", "Aes128_Sha256_RsaOaep 3 3",
                                       "Aes256_Sha256_RsaPss 2 3", "Aes256_Sha256_RsaPss 3 3", "Basic256 2 3",
                                       "Basic256 3 3", "Basic128Rsa15 2 3", "Basic128Rsa15 3 3"));
}

TEST_F(PlantSecurity, OldPoliciesAreOfferedOnRequestOnly) {
    server.emplace(std::vector<std::string>{"--security"});
    EXPECT_EQ(offered().size(), 1 + 2 * newerPolicies.size());
    server.emplace();
    EXPECT_THAT(offered(), ElementsAre("None 1 1"));
}

TEST_F(PlantSecurity, EveryPolicyServesEveryModeAndEveryIdentity) {
    server.emplace(std::vector<std::string>{"--legacy"});
    const Credentials own(folder.path(), "client", clientUri);
    const Credentials user(folder.path(), "anna", userUri);
    const Endpoints endpoints(server->url());
    for (const std::string& policy : allPolicies)
        for (const UA_MessageSecurityMode mode : secureModes) {
            SCOPED_TRACE(policy + " " + std::to_string(mode));
            SecureClient anonymous(own);
            anonymous.choose(endpoints, policy, mode);
            ASSERT_EQ(anonymous.connect(server->url()), UA_STATUSCODE_GOOD);
            EXPECT_EQ(latest(anonymous, "SecurityPolicy"), policyPrefix + policy);
            EXPECT_EQ(latest(anonymous, "SecurityMode"),
                      mode == UA_MESSAGESECURITYMODE_SIGN ? "Sign" : "SignAndEncrypt");
            EXPECT_EQ(latest(anonymous, "UserType"), "Anonymous");
            EXPECT_EQ(anonymous.write(rack("Scalar.Int32"), UA_Int32{7}), UA_STATUSCODE_GOOD);

            SecureClient named(own);
            named.choose(endpoints, policy, mode);
            ASSERT_EQ(named.connect(server->url(), "operator", "plant"), UA_STATUSCODE_GOOD);
            EXPECT_EQ(latest(named, "UserType") + latest(named, "User"), "UserNameoperator");

            SecureClient certified(own, &user);
            certified.choose(endpoints, policy, mode);
            ASSERT_EQ(certified.connect(server->url()), UA_STATUSCODE_GOOD);
            EXPECT_EQ(latest(certified, "UserType"), "Certificate");
            EXPECT_THAT(latest(certified, "User"), HasSubstr("anna"));
            EXPECT_EQ(certified.read(rack("Access.LoggedInUsers")).status(), UA_STATUSCODE_GOOD);
        }
}

TEST_F(PlantSecurity, PasswordsOverNoneAreEncryptedUnlessOpennessIsAskedFor) {
    server.emplace(std::vector<std::string>{"--security"});
    const Credentials own(folder.path(), "client", clientUri);
    SecureClient peer(own);
    peer.choose(Endpoints(server->url()), "None", UA_MESSAGESECURITYMODE_NONE);
    ASSERT_EQ(peer.connect(server->url(), "operator", "plant"), UA_STATUSCODE_GOOD);
    EXPECT_EQ(latest(peer, "User"), "operator");
    EXPECT_EQ(latest(peer, "SecurityMode"), "None");
    RawClient incapable;
    EXPECT_NE(incapable.connect(server->url(), "operator", "plant"), UA_STATUSCODE_GOOD);
    server.emplace(std::vector<std::string>{"--security", "--insecure-passwords"});
    RawClient open;
    EXPECT_EQ(open.connect(server->url(), "operator", "plant"), UA_STATUSCODE_GOOD);
}

TEST_F(PlantSecurity, AnUnsecuredServerTakesClientsThatShowACertificate) {
    server.emplace();
    const Credentials own(folder.path(), "client", clientUri);
    SecureClient peer(own);
    peer.choose(Endpoints(server->url()), "None", UA_MESSAGESECURITYMODE_NONE);
    EXPECT_EQ(peer.connect(server->url()), UA_STATUSCODE_GOOD);
}

class PlantTrust : public PlantSecurity {
protected:
    PlantTrust() {
        std::filesystem::create_directory(clients);
        std::filesystem::create_directory(users);
        server.emplace(std::vector<std::string>{"--trusted-clients", clients, "--trusted-users", users});
    }

    UA_StatusCode connect(const Credentials& own, const Credentials* user = nullptr) {
        SecureClient peer(own, user);
        peer.choose(Endpoints(server->url()), "Basic256Sha256", UA_MESSAGESECURITYMODE_SIGNANDENCRYPT);
        return peer.connect(server->url());
    }

    const std::filesystem::path clients = folder.path() / "clients";
    const std::filesystem::path users = folder.path() / "users";
};

TEST_F(PlantTrust, IsInTheCertificatesOfAFolder) {
    const Credentials own(folder.path(), "client", clientUri);
    const Credentials user(folder.path(), "anna", userUri);
    EXPECT_NE(connect(own), UA_STATUSCODE_GOOD);
    std::filesystem::copy(own.certificateFile, clients);
    EXPECT_EQ(connect(own), UA_STATUSCODE_GOOD);
    EXPECT_EQ(connect(own, &user), UA_STATUSCODE_BADIDENTITYTOKENREJECTED);
    std::filesystem::copy(user.certificateFile, users);
    EXPECT_EQ(connect(own, &user), UA_STATUSCODE_GOOD);
}

TEST_F(PlantTrust, IsInWhatAnAuthorityOfAFolderSignedWithoutARevocationList) {
    const Authority authority(folder.path(), "authority");
    const Credentials own(folder.path(), authority, "client", clientUri);
    const Credentials user(folder.path(), authority, "anna", userUri);
    EXPECT_NE(connect(own), UA_STATUSCODE_GOOD);
    std::filesystem::copy(authority.certificateFile, clients);
    EXPECT_EQ(connect(own), UA_STATUSCODE_GOOD);
    EXPECT_EQ(connect(own, &user), UA_STATUSCODE_BADIDENTITYTOKENREJECTED);
    std::filesystem::copy(authority.certificateFile, users);
    EXPECT_EQ(connect(own, &user), UA_STATUSCODE_GOOD);
}

TEST_F(PlantSecurity, AClientWhoseCertificateNamesAnotherApplicationIsRefused) {
    server.emplace(std::vector<std::string>{"--security"});
    const Credentials foreign(folder.path(), "foreign", "urn:kestrova:plant-test:another");
    SecureClient peer(foreign);
    peer.choose(Endpoints(server->url()), "Basic256Sha256", UA_MESSAGESECURITYMODE_SIGN);
    EXPECT_EQ(peer.connect(server->url()), UA_STATUSCODE_BADCERTIFICATEURIINVALID);
}

class PlantCertificate : public PlantSecurity {
protected:
    /// What the server shows, its issuers included.
    std::string shown() {
        const Endpoints endpoints(server->url());
        const UA_EndpointDescription* endpoint =
            endpoints.find("Basic256Sha256", UA_MESSAGESECURITYMODE_SIGN);
        return endpoint == nullptr ? "" : text(endpoint->serverCertificate);
    }

    UaPkiCertificate shownCertificate() {
        const std::string der = shown();
        return UaPkiCertificate::fromDER(
            UaByteString(static_cast<int>(der.size()), reinterpret_cast<const OpcUa_Byte*>(der.data())));
    }
};

TEST_F(PlantCertificate, IsMadeAtEachStartAndLeavesNothingBehind) {
    server.emplace(std::vector<std::string>{"--security", "--host", "localhost"});
    const UaPkiCertificate first = shownCertificate();
    EXPECT_EQ(first.info().uri.text(), serverUri);
    EXPECT_THAT(first.info().dnsNames, ElementsAre(UaString("localhost")));
    server.emplace(std::vector<std::string>{"--security"});
    const UaPkiCertificate second = shownCertificate();
    EXPECT_THAT(second.info().ipAddresses, ElementsAre(UaString("127.0.0.1")));
    EXPECT_NE(first.toDER(), second.toDER());
}

TEST_F(PlantCertificate, StaysTheSameWithAFolder) {
    const std::string pki = folder.path() / "deep" / "pki";
    server.emplace(std::vector<std::string>{"--pki", pki});
    const std::string first = shown();
    EXPECT_EQ(first, contentOf(pki + "/plant-server.der"));
    server.emplace(std::vector<std::string>{"--pki", pki});
    EXPECT_EQ(shown(), first);
}

TEST_F(PlantCertificate, IsShownAsGivenHoweverWrong) {
    const Credentials expired(folder.path(), "expired", "urn:kestrova:plant-test:another", 7200, 3600);
    server.emplace(
        std::vector<std::string>{"--certificate", expired.certificateFile, "--private-key", expired.keyFile});
    EXPECT_EQ(shown(), expired.certificate);
}

TEST_F(PlantCertificate, BadFilesAreExplained) {
    const Credentials one(folder.path(), "one", serverUri);
    const auto standardError = [&](const std::vector<std::string>& options, int exitCode) {
        const test_support::ProgramResult result =
            test_support::runProgram(test_support::PlantServer::program(), options);
        EXPECT_EQ(result.end.exitCode, exitCode);
        return result.standardError;
    };
    EXPECT_THAT(standardError({"--certificate", one.certificateFile}, 2), HasSubstr("--private-key"));
    EXPECT_THAT(standardError({"--certificate", "/missing", "--private-key", one.keyFile}, 1),
                HasSubstr("cannot read /missing"));
    EXPECT_THAT(standardError({"--certificate", one.keyFile, "--private-key", one.keyFile}, 1),
                HasSubstr("use the server's certificate and key"));
    EXPECT_THAT(standardError({"--trusted-clients", "/missing"}, 1), HasSubstr("/missing is no folder"));
}
