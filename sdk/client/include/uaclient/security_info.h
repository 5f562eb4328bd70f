#pragma once

#include <memory>

#include "uabase/arrays.h"
#include "uabase/byte_string.h"
#include "uabase/status.h"
#include "uabase/string.h"
#include "uastack/export.h"
#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// The client's side of security: its certificate store, its certificate and its private key. The key leaves
/// memory overwritten.
class UASDK_EXPORT ClientSecurityInfo {
public:
    ClientSecurityInfo();
    virtual ~ClientSecurityInfo();
    ClientSecurityInfo(const ClientSecurityInfo&) = delete;
    ClientSecurityInfo& operator=(const ClientSecurityInfo&) = delete;

    /// Sets the directories of the store. Bad when one exists and cannot be listed.
    UaStatus initializePkiProviderOpenSSL(const UaString& revocationListLocation,
                                          const UaString& trustListLocation,
                                          const UaString& issuersRevocationListLocation,
                                          const UaString& issuersCertificatesLocation);
    /// Loads certificate (DER) and private key (PEM). Never asks for a password. Bad when one cannot be read,
    /// when the key is not RSA, or when the two do not belong together.
    UaStatus loadClientCertificateOpenSSL(const UaString& certificateFile, const UaString& privateKeyFile,
                                          const UaString& password);

    struct Material;
    const Material& material() const { return *m_material; }
    /// What the last endpoint query with this object brought, for the session that follows.
    void setOffers(const UaEndpointDescriptions& endpoints);

protected:
    std::unique_ptr<Material> m_material;
};

/// The security of one session: what its channel uses and who the user is.
class UASDK_EXPORT SessionSecurityInfo : public ClientSecurityInfo {
public:
    SessionSecurityInfo();
    ~SessionSecurityInfo() override;

    /// OPC UA Part 4, 7.41: the session runs without a user.
    void setAnonymousUserIdentity();
    /// The password goes out encrypted to the server's certificate wherever the endpoint has a token policy
    /// for that.
    void setUserPasswordUserIdentity(const UaString& userName, const UaString& password);
    /// A certificate (DER) with its private key (an RSAPrivateKey in DER: RFC 8017, A.1.2).
    void setCertificateUserIdentity(const UaByteString& certificate, const UaByteString& privateKey);

    /// OPC UA Part 4, 6.1.3: verifies `serverCertificate` against the store, for `securityPolicyUri` and the
    /// application URI that the last endpoint query announced. Every objection goes to the trace.
    /// @param validationCallback  not used; null
    UaStatus verifyServerCertificate(void* validationCallback);
    /// Saves `serverCertificate` into the trust list as "<name>.der".
    UaStatus saveServerCertificate(UaString& name);

    /// Security policy URI; the policy None by default.
    UaString securityPolicyUri;
    /// OPC UA Part 4, 7.20; None by default.
    OpcUa_MessageSecurityMode messageSecurityMode;
    /// The server's certificate (DER) that was decided on. The session is bound to it: a server that shows
    /// another one is refused.
    UaByteString serverCertificate;
    /// Whether connect() refuses a certificate that verifyServerCertificate() does not find good.
    bool doServerCertificateVerify = true;

    struct User;
    const User& user() const { return *m_user; }
    bool isVerified() const;
    /// What the last verifyServerCertificate() objected to, in one line.
    const UaString& objections() const { return m_objections; }

private:
    std::unique_ptr<User> m_user;
    UaByteString m_verifiedCertificate;
    UaString m_objections;
};

} // namespace UaClientSdk
