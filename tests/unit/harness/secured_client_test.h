#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "client_test.h"
#include "support/temporary_directory.h"
#include "support/text_file.h"
#include "uabase/byte_string.h"
#include "uapki/identity.h"

/// A client whose executable, and so its certificate store, lies in a directory of the case's own.
class SecuredClientTest : public ClientTest {
protected:
    static constexpr const char* initialize = "ClientSecurityInfo::initializePkiProviderOpenSSL";
    static constexpr const char* loadCertificate = "ClientSecurityInfo::loadClientCertificateOpenSSL";
    static constexpr const char* verify = "SessionSecurityInfo::verifyServerCertificate";
    static constexpr const char* save = "SessionSecurityInfo::saveServerCertificate";

    SecuredClientTest();

    int tryConnect() { return m_client->OpcUaConnect(m_config); }
    /// The call that failed answers with `status`, everything else is good.
    void answer(const std::string& operation, OpcUa_StatusCode status);
    /// What the last call of an operation was given.
    std::string argumentsOf(const std::string& operation);
    /// Operations on security, queries and the session, in order.
    std::vector<std::string> steps();
    void expectNoSession();

    const std::filesystem::path& directory() const { return m_directory.path(); }
    std::filesystem::path clientCertificate() const {
        return directory() / "pkiclient/own/certs/HMIClient.der";
    }
    std::filesystem::path clientKey() const { return directory() / "pkiclient/own/private/HMIClient.pem"; }
    std::filesystem::path userCertificate() const { return directory() / "pkiuser/own/certs/user.der"; }
    std::filesystem::path userKey() const { return directory() / "pkiuser/own/private/user.pem"; }

    /// A server's certificate; made once for the program.
    static const UaByteString& serverCertificate();

    _OpcUaClientConfig m_config = makeConfig();

private:
    test_support::TemporaryDirectory m_directory;
};

/// What every certificate of the client says of its owner, the common name aside.
void expectOwner(const UaPkiIdentity& subject);

using test_support::contentOf;

/// The key of an unencrypted file, DER.
std::string keyBytes(const std::filesystem::path& keyFile);
int bitsOf(const std::filesystem::path& keyFile);
/// Whether the key is that of the certificate.
bool belongTogether(const std::filesystem::path& certificateFile, const std::filesystem::path& keyFile);
/// Whether nobody else's certificate can be signed with it.
bool standsForItselfAlone(const std::filesystem::path& certificateFile);
