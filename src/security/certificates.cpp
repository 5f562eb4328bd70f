#include <filesystem>
#include <system_error>

#include "client/result_codes.h"
#include "security/configuration.h"
#include "uabase/directory.h"
#include "uabase/trace.h"
#include "uaclient/security_info.h"
#include "uapki/certificate.h"
#include "uapki/provider.h"
#include "uapki/rsa_key_pair.h"
#include "uastack/key.h"

namespace {

constexpr int keyBits = 2048;
constexpr OpcUa_Int64 secondsADay = 86400;
constexpr OpcUa_Int64 clientValidity = 1825 * secondsADay;
constexpr OpcUa_Int64 userValidity = 365 * secondsADay;
constexpr const char* defaultUserName = "Authenticated";
constexpr const char* dnsName = "HMI_Client";

/// What every certificate of this product says of its owner.
UaPkiIdentity identityNamed(const UaString& commonName) {
    UaPkiIdentity identity;
    identity.organization = "Organization";
    identity.organizationUnit = "Unit";
    identity.locality = "LocationName";
    identity.state = "Northvale";
    identity.country = "SZ";
    identity.commonName = commonName;
    identity.domainComponent = dnsName;
    return identity;
}

UaPkiCertificate selfSigned(const UaPkiIdentity& identity, const UaPkiCertificateInfo& info,
                            const UaPkiRsaKeyPair& keys) {
    return UaPkiCertificate(info, identity, keys.publicKey(), identity, keys.privateKey(), false,
                            UaPkiCertificate::Sha256);
}

/// Creates the directories of a setting. Those that cannot be made show up when the files are used.
void makeDirectories(const UaString& setting) {
    const UaDir workingDirectory((UaUniString("")));
    workingDirectory.mkpath(workingDirectory.filePath(UaDir::fromNativeSeparators(setting.toUtf16())));
}

bool isReadable(const UaString& path) {
    return UaFile(path.toUtf16()).open();
}

bool exists(const UaString& path) {
    std::error_code error;
    return std::filesystem::exists(path.toUtf8(), error);
}

/// Whether a file is there that may hold anything: it may be a good certificate or key all the same.
bool isUnreadable(const UaString& path) {
    if (!exists(path) || isReadable(path)) {
        return false;
    }
    UaTrace::write(UaTrace::Errors, "security", "%s cannot be read, and what cannot be read is not replaced",
                   path.toUtf8());
    return true;
}

/// The two files of a pair that is to be made. Beside one that stays because it cannot be read, the other one
/// stays too.
class NewPair {
public:
    NewPair(const UaString& certificate, const UaString& key)
        : m_incomplete(isUnreadable(certificate) || isUnreadable(key)) {}

    bool write(const UaPkiCertificate& certificate, const UaString& path) const {
        return mayWrite(path) && certificate.toDERFile(path) == 0;
    }
    bool write(const UaPkiRsaKeyPair& keys, const UaString& path) const {
        return mayWrite(path) && keys.toPEMFile(path, nullptr) == 0;
    }

private:
    bool mayWrite(const UaString& path) const { return !m_incomplete || !exists(path); }

    bool m_incomplete;
};

/// A private key in memory, wiped when it goes.
class PrivateKey {
public:
    PrivateKey() { OpcUa_Key_Initialize(&record); }
    ~PrivateKey() { OpcUa_Key_Clear(&record); }
    PrivateKey(const PrivateKey&) = delete;
    PrivateKey& operator=(const PrivateKey&) = delete;

    OpcUa_Key record;
};

} // namespace

int Configuration::setupSecurity(UaClientSdk::SessionSecurityInfo& securityInfo) {
    for (const UaString* setting :
         {&ClientCertificate, &ClientPrivateKey, &CertificateTrustListLocation,
          &CertificateRevocationListLocation, &IssuersCertificatesLocation, &IssuersRevocationListLocation}) {
        makeDirectories(*setting);
    }
    // A certificate that is there stays, expired or without its key: others may already trust it.
    if (UaPkiCertificate::fromDERFile(ClientCertificate).isNull()) {
        makeClientCertificate();
    }
    if (securityInfo
            .initializePkiProviderOpenSSL(CertificateRevocationListLocation, CertificateTrustListLocation,
                                          IssuersRevocationListLocation, IssuersCertificatesLocation)
            .isBad()) {
        return result::pkiProviderFailed;
    }
    if (securityInfo.loadClientCertificateOpenSSL(ClientCertificate, ClientPrivateKey, UaString()).isBad()) {
        return result::clientCertificateFailed;
    }
    return result::success;
}

void Configuration::makeClientCertificate() const {
    const NewPair files(ClientCertificate, ClientPrivateKey);
    const UaPkiRsaKeyPair keys(keyBits);
    UaPkiCertificateInfo info;
    info.uri = "urn:HMI:Kestrova::RK4400";
    info.dnsNames = {dnsName};
    info.validTime = clientValidity;
    const UaPkiCertificate certificate = selfSigned(identityNamed("HMI_RK4400"), info, keys);
    // What cannot be written cannot be loaded afterwards, and is reported then.
    const bool certificateWritten = files.write(certificate, ClientCertificate);
    const bool keyWritten = files.write(keys, ClientPrivateKey);
    if (!certificateWritten || !keyWritten) {
        return;
    }
    UaTrace::write(UaTrace::LifeCycle, "security", "made this client's own %s for %s",
                   certificate.description().toUtf8(), ClientCertificate.toUtf8());
}

int Configuration::makeUserCertificate() const {
    const NewPair files(UserCertificate, UserPrivateKey);
    const UaPkiRsaKeyPair keys(keyBits);
    UaPkiCertificateInfo info;
    info.uri = "UserCertificate";
    info.validTime = userValidity;
    const UaString name = userCertificateName.size() != 0 ? userCertificateName : UaString(defaultUserName);
    const UaPkiCertificate certificate = selfSigned(identityNamed(name), info, keys);
    const bool written = files.write(certificate, UserCertificate) && files.write(keys, UserPrivateKey);
    return written ? result::success : result::userCertificateNotWritten;
}

int Configuration::loadUserCertificate() {
    makeDirectories(UserCertificate);
    makeDirectories(UserPrivateKey);
    const bool certificateReadable = isReadable(UserCertificate);
    const bool keyReadable = isReadable(UserPrivateKey);
    if (!certificateReadable || !keyReadable) {
        if (const int code = makeUserCertificate()) {
            return code;
        }
    }
    const UaPkiCertificate certificate = UaPkiCertificate::fromDERFile(UserCertificate);
    if (!certificate.isValid()) {
        UaTrace::write(UaTrace::Errors, "security", "the user's certificate %s is no DER certificate",
                       UserCertificate.toUtf8());
        return result::userCertificateInvalid;
    }
    userCertificateData = certificate.toDER();

    UaPkiProviderOpenSSL provider(CertificateRevocationListLocation, CertificateTrustListLocation);
    if (provider.openCertificateStore().isNotGood()) {
        return result::userStoreNotOpened;
    }
    PrivateKey key;
    if (provider.loadPrivateKey(UserPrivateKey, OpcUa_KeyEncoding_Pem, "", &key.record).isNotGood()) {
        return result::userKeyNotLoaded;
    }
    if (key.record.type != OpcUa_KeyType_RsaPrivate) {
        UaTrace::write(UaTrace::Errors, "security", "the user's private key %s is not an RSA key",
                       UserPrivateKey.toUtf8());
        return result::userKeyNotRsa;
    }
    userPrivateKeyData = UaByteString(key.record.bytes);
    return result::success;
}
