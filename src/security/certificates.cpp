#include <chrono>

#include "client/result_codes.h"
#include "security/application.h"
#include "security/configuration.h"
#include "uabase/directory.h"
#include "uabase/directory_lock.h"
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

enum class FileState { Missing, Readable, Unknown };

FileState stateOf(const UaString& path) {
    UaFile file(path.toUtf16());
    if (file.open())
        return FileState::Readable;
    if (file.isMissing())
        return FileState::Missing;
    UaTrace::write(UaTrace::Errors, "security",
                   "%s cannot be read: %s; neither what cannot be read nor what belongs to it is replaced",
                   path.toUtf8(), file.problem().toUtf8());
    return FileState::Unknown;
}

/// Far longer than a pair takes to be made on a busy machine.
constexpr std::chrono::seconds longestMaking(30);

/// The two files of a certificate and its key while they are made. There is one maker at a time, in this
/// process and in all others; who comes later takes what that one has made.
///
/// A process may end between the two files. So the one for whose sake they are made comes last: until it is
/// there the pair is still to be made, and two that do not belong together are never found.
class NewPair {
public:
    NewPair(const UaString& certificate, const UaString& key)
        : m_certificate(certificate), m_key(key),
          m_lock(certificate.text().substr(0, certificate.text().rfind('/') + 1), longestMaking),
          m_certificateState(stateOf(certificate)), m_keyState(stateOf(key)) {}

    /// Whether nobody else is making it, and none of its files is one that cannot be read: that may be a good
    /// one all the same, and its pair would be lost with it.
    bool mayBeMade() const {
        if (!m_lock.isHeld()) {
            UaTrace::write(UaTrace::Errors, "security", "cannot write %s: its directory: %s",
                           m_certificate.toUtf8(), m_lock.problem().toUtf8());
            return false;
        }
        return m_certificateState != FileState::Unknown && m_keyState != FileState::Unknown;
    }
    bool isComplete() const { return m_certificateState == FileState::Readable && !isKeyMissing(); }
    bool isKeyMissing() const { return m_keyState == FileState::Missing; }

    bool writeKeyLast(const UaPkiCertificate& certificate, const UaPkiRsaKeyPair& keys) const {
        return writeCertificate(certificate) && writeKey(keys);
    }
    /// No key is replaced for a certificate that could not be made, as for a name that is not UTF-8, or
    /// cannot be written.
    bool writeCertificateLast(const UaPkiCertificate& certificate, const UaPkiRsaKeyPair& keys) const {
        return certificate.couldBeWrittenTo(m_certificate) && writeKey(keys) && writeCertificate(certificate);
    }

private:
    bool writeCertificate(const UaPkiCertificate& certificate) const {
        return certificate.toDERFile(m_certificate) == 0;
    }
    bool writeKey(const UaPkiRsaKeyPair& keys) const { return keys.toPEMFile(m_key, nullptr) == 0; }

    const UaString& m_certificate;
    const UaString& m_key;
    const UaDirectoryLock m_lock; ///< held while the files are looked at
    const FileState m_certificateState;
    const FileState m_keyState;
};

/// Surely so: a file that cannot be read may hold a good one.
bool holdsNoCertificate(const UaString& path) {
    const OpcUa_StatusCode probed = UaPkiCertificate::probeDERFile(path).statusCode();
    if (probed == OpcUa_BadNotSupported) {
        UaTrace::write(
            UaTrace::Errors, "security",
            "%s holds a certificate, or was to hold one, but not in DER: it and its key are left as "
            "they are; convert it, for example with openssl x509 -outform DER",
            path.toUtf8());
    }
    return probed == OpcUa_BadNotFound || probed == OpcUa_BadCertificateInvalid;
}

/// A private key in memory, wiped when it goes.
class PrivateKey {
public:
    PrivateKey() { OpcUa_Key_Initialize(&record); }
    ~PrivateKey() { OpcUa_Key_Clear(&record); }
    PrivateKey(const PrivateKey&) = delete;
    PrivateKey& operator=(const PrivateKey&) = delete;

    OpcUa_Key record;
};

void makeClientCertificate(const Configuration& configuration) {
    const NewPair files(configuration.ClientCertificate, configuration.ClientPrivateKey);
    // Somebody else may have made it meanwhile. What cannot be made cannot be loaded afterwards, and is
    // reported then.
    if (!files.mayBeMade() || !holdsNoCertificate(configuration.ClientCertificate))
        return;
    const UaPkiRsaKeyPair keys(keyBits);
    UaPkiCertificateInfo info;
    info.uri = application::uri;
    info.dnsNames = {dnsName};
    info.validTime = clientValidity;
    const UaPkiCertificate certificate = selfSigned(identityNamed(application::name), info, keys);
    if (files.writeCertificateLast(certificate, keys)) {
        UaTrace::write(UaTrace::LifeCycle, "security", "made this client's own %s for %s",
                       certificate.description().toUtf8(), configuration.ClientCertificate.toUtf8());
    }
}

/// Returns 0, also when somebody else has made it meanwhile, or a result code.
int makeUserCertificate(const Configuration& configuration) {
    const NewPair files(configuration.UserCertificate, configuration.UserPrivateKey);
    if (!files.mayBeMade())
        return result::userCertificateNotWritten;
    if (files.isComplete())
        return result::success;
    const UaPkiRsaKeyPair keys(keyBits);
    UaPkiCertificateInfo info;
    info.uri = "UserCertificate";
    info.validTime = userValidity;
    const UaString name = configuration.userCertificateName.size() != 0 ? configuration.userCertificateName
                                                                        : UaString(defaultUserName);
    const UaPkiCertificate certificate = selfSigned(identityNamed(name), info, keys);
    const bool written = files.isKeyMissing() ? files.writeKeyLast(certificate, keys)
                                              : files.writeCertificateLast(certificate, keys);
    return written ? result::success : result::userCertificateNotWritten;
}

} // namespace

int Configuration::setupSecurity(UaClientSdk::SessionSecurityInfo& securityInfo) {
    for (const UaString* setting :
         {&ClientCertificate, &ClientPrivateKey, &CertificateTrustListLocation,
          &CertificateRevocationListLocation, &IssuersCertificatesLocation, &IssuersRevocationListLocation}) {
        makeDirectories(*setting);
    }
    // A certificate that is there stays, expired or without its key: others may already trust it.
    if (UaPkiCertificate::fromDERFile(ClientCertificate).isNull())
        makeClientCertificate(*this);
    if (securityInfo
            .initializePkiProviderOpenSSL(CertificateRevocationListLocation, CertificateTrustListLocation,
                                          IssuersRevocationListLocation, IssuersCertificatesLocation)
            .isBad()) {
        return result::pkiProviderFailed;
    }
    if (securityInfo.loadClientCertificateOpenSSL(ClientCertificate, ClientPrivateKey, UaString()).isBad())
        return result::clientCertificateFailed;
    return result::success;
}

int Configuration::loadUserCertificate() {
    makeDirectories(UserCertificate);
    makeDirectories(UserPrivateKey);
    const bool certificateReadable = isReadable(UserCertificate);
    const bool keyReadable = isReadable(UserPrivateKey);
    if (!certificateReadable || !keyReadable) {
        if (const int code = makeUserCertificate(*this))
            return code;
    }
    const UaPkiCertificate certificate = UaPkiCertificate::fromDERFile(UserCertificate);
    if (!certificate.isValid()) {
        UaTrace::write(UaTrace::Errors, "security", "the user's certificate %s is no DER certificate",
                       UserCertificate.toUtf8());
        return result::userCertificateInvalid;
    }
    userCertificateData = certificate.toDER();

    UaPkiProviderOpenSSL provider(CertificateRevocationListLocation, CertificateTrustListLocation);
    if (provider.openCertificateStore().isNotGood())
        return result::userStoreNotOpened;
    PrivateKey key;
    if (provider.loadPrivateKey(UserPrivateKey, OpcUa_KeyEncoding_Pem, "", &key.record).isNotGood())
        return result::userKeyNotLoaded;
    if (key.record.type != OpcUa_KeyType_RsaPrivate) {
        UaTrace::write(UaTrace::Errors, "security", "the user's private key %s is not an RSA key",
                       UserPrivateKey.toUtf8());
        return result::userKeyNotRsa;
    }
    userPrivateKeyData.wipe();
    userPrivateKeyData = UaByteString(key.record.bytes);
    return result::success;
}
