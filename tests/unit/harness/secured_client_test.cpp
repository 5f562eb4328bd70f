#include "secured_client_test.h"

#include <cstdio>
#include <filesystem>
#include <vector>

#include "support/child_process.h"
#include "uapki/certificate.h"
#include "uapki/provider.h"
#include "uapki/rsa_key_pair.h"

namespace {

class KeyOfFile {
public:
    explicit KeyOfFile(const std::filesystem::path& file) {
        OpcUa_Key_Initialize(&key);
        UaPkiProviderOpenSSL provider{UaString(), UaString()};
        EXPECT_TRUE(
            provider.loadPrivateKey(UaString(file.string()), OpcUa_KeyEncoding_Pem, nullptr, &key).isGood());
    }
    ~KeyOfFile() { OpcUa_Key_Clear(&key); }
    KeyOfFile(const KeyOfFile&) = delete;
    KeyOfFile& operator=(const KeyOfFile&) = delete;

    OpcUa_Key key;
};

} // namespace

SecuredClientTest::SecuredClientTest() {
    platform_recorder::setExecutable((directory() / "hmi").string());
    m_config.securityPolicy = 3;
    m_config.securityMode = 2;
    script().onGetEndpoints = [](const standin::DiscoveryRequest&, UaEndpointDescriptions& endpoints) {
        endpoints.create(2);
        const UaByteString& first = serverCertificate();
        endpoints[0].serverCertificate = ownedString(std::string(reinterpret_cast<const char*>(first.data()),
                                                                 static_cast<std::size_t>(first.length())));
        endpoints[1].serverCertificate = ownedString("another");
        return UaStatus();
    };
}

void SecuredClientTest::answer(const std::string& operation, OpcUa_StatusCode status) {
    script().onSecurity = [operation, status](const std::string& asked) {
        return asked == operation ? UaStatus(status) : UaStatus();
    };
}

std::string SecuredClientTest::argumentsOf(const std::string& operation) {
    std::string arguments = "never called";
    for (const standin::Call& call : script().calls())
        if (call.operation == operation)
            arguments = std::get<std::string>(call.arguments);
    return arguments;
}

std::vector<std::string> SecuredClientTest::steps() {
    std::vector<std::string> result;
    for (const std::string& operation : script().operations())
        if (operation.rfind("UaSettings::", 0) != 0 && operation != "readlink")
            result.push_back(operation);
    return result;
}

void SecuredClientTest::expectNoSession() {
    EXPECT_EQ(script().operations().back(), "UaSession::~UaSession");
    EXPECT_EQ(m_client->OpcUaDisConnect(), 3);
}

const UaByteString& SecuredClientTest::serverCertificate() {
    static const UaByteString certificate = [] {
        const UaPkiRsaKeyPair keys(2048);
        UaPkiIdentity identity;
        identity.commonName = "Plant";
        identity.organization = "Dairy";
        identity.organizationUnit = "Filling";
        identity.locality = "Kiel";
        identity.state = "SH";
        identity.country = "DE";
        identity.domainComponent = "plant";
        UaPkiCertificateInfo info;
        info.uri = "urn:plant:server";
        info.validTime = 86400;
        return UaPkiCertificate(info, identity, keys.publicKey(), identity, keys.privateKey(), false,
                                UaPkiCertificate::Sha256)
            .toDER();
    }();
    return certificate;
}

void expectOwner(const UaPkiIdentity& subject) {
    EXPECT_EQ(subject.organization.text(), "Organization");
    EXPECT_EQ(subject.organizationUnit.text(), "Unit");
    EXPECT_EQ(subject.locality.text(), "LocationName");
    EXPECT_EQ(subject.state.text(), "Northvale");
    EXPECT_EQ(subject.country.text(), "SZ");
    EXPECT_EQ(subject.domainComponent.text(), "HMI_Client");
}

std::string keyBytes(const std::filesystem::path& keyFile) {
    const KeyOfFile file(keyFile);
    return std::string(reinterpret_cast<const char*>(file.key.bytes.data), file.key.bytes.length);
}

int bitsOf(const std::filesystem::path& keyFile) {
    const auto shown =
        test_support::runProgram("openssl", {"pkey", "-in", keyFile.string(), "-noout", "-text"});
    int bits = 0;
    EXPECT_EQ(std::sscanf(shown.standardOutput.c_str(), "Private-Key: (%d bit", &bits), 1);
    return bits;
}

bool belongTogether(const std::filesystem::path& certificateFile, const std::filesystem::path& keyFile) {
    return UaPkiCertificate::fromDERFile(UaString(certificateFile.string()))
        .matchesPrivateKey(KeyOfFile(keyFile).key);
}

bool standsForItselfAlone(const std::filesystem::path& certificateFile) {
    const std::string shown =
        test_support::runProgram("openssl", {"x509", "-inform", "DER", "-in", certificateFile.string(),
                                             "-noout", "-ext", "basicConstraints"})
            .standardOutput;
    return shown.find("CA:FALSE") != std::string::npos;
}
