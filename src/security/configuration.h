#pragma once

#include "OpcUaTypes.h"
#include "uabase/byte_string.h"
#include "uabase/string.h"
#include "uaclient/security_info.h"

/// Where the client keeps its certificates and keys, as "OpcUaClientConfig.ini" says, and the user
/// certificate of the connect at hand.
class OPCUACLIENT_EXPORT Configuration {
public:
    Configuration();
    virtual ~Configuration();

    /// Reads group "UaClientConfig" of the file; a missing file, group or key gives the defaults. Returns 0.
    int loadConfiguration(const UaString& iniFile);

    /// Replace the text up to the end of the first "[ApplicationPath]" or "[ConfigPath]" by the directory
    /// `path`: what stands before the token goes too. The result is cut at 511 bytes.
    void replaceApplicationPath(UaString& value, const UaString& path);
    void replaceConfigPath(UaString& value, const UaString& path);

    /// Makes the client's directories, and its certificate with a key if there is none, and loads both into
    /// `securityInfo`. Returns 0, 20 when a directory of the store cannot be listed, or 21 when certificate
    /// or key cannot be loaded.
    int setupSecurity(UaClientSdk::SessionSecurityInfo& securityInfo);
    /// Loads the user's certificate and key into the members below, making them first when one of the files
    /// cannot be read. Returns 0, 24 for a certificate that is none, 25 for a key that cannot be loaded, 26
    /// for one that is not RSA, 27 when the store cannot be opened, or 28 when a new pair cannot be written.
    int loadUserCertificate();

    UaByteString userCertificateData;
    UaByteString userPrivateKeyData; ///< wiped when it goes, and by the connect that has handed it over
    UaString userCertificateName;
    const char*
        applicationPath; ///< what both tokens stand for; borrowed, set only while a connect loads the file
    UaString CertificateTrustListLocation;
    UaString CertificateRevocationListLocation;
    UaString IssuersCertificatesLocation;
    UaString IssuersRevocationListLocation;
    UaString ClientCertificate;
    UaString ClientPrivateKey;
    UaString UserCertificate;
    UaString UserPrivateKey;
};
