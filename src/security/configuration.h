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

    /// Prepares certificates and certificate store for a secured session. Returns 0 or a result code.
    int setupSecurity(UaClientSdk::SessionSecurityInfo& securityInfo);

    UaByteString userCertificateData;
    UaByteString userPrivateKeyData;
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
