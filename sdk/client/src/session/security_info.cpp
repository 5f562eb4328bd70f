#include "uaclient/security_info.h"

#include <cstddef>
#include <memory>
#include <new>

#include "session/security_material.h"
#include "uabase/date_time.h"
#include "uabase/trace.h"
#include "uapki/certificate.h"
#include "uapki/certificate_verifier.h"
#include "uapki/provider.h"
#include "uapki/security_policy.h"

namespace UaClientSdk {

ClientSecurityInfo::ClientSecurityInfo() : m_material(std::make_unique<Material>()) {}
ClientSecurityInfo::~ClientSecurityInfo() = default;

UaStatus ClientSecurityInfo::initializePkiProviderOpenSSL(const UaString& revocationListLocation,
                                                          const UaString& trustListLocation,
                                                          const UaString& issuersRevocationListLocation,
                                                          const UaString& issuersCertificatesLocation) {
    m_material->store = {trustListLocation, revocationListLocation, issuersCertificatesLocation,
                         issuersRevocationListLocation};
    const UaStatus status = UaPkiStore(m_material->store).open();
    if (status.isBad()) {
        UaTrace::write(UaTrace::Errors, "security",
                       "a directory of the certificate store cannot be listed: %s, "
                       "%s, %s or %s",
                       trustListLocation.toUtf8(), revocationListLocation.toUtf8(),
                       issuersCertificatesLocation.toUtf8(), issuersRevocationListLocation.toUtf8());
    }
    return status;
}

UaStatus ClientSecurityInfo::loadClientCertificateOpenSSL(const UaString& certificateFile,
                                                          const UaString& privateKeyFile,
                                                          const UaString& password) {
    const UaPkiCertificate certificate = UaPkiCertificate::fromDERFile(certificateFile);
    if (!certificate.isValid()) {
        UaTrace::write(
            UaTrace::Errors, "security",
            "this client's own certificate %s cannot be read, or is no DER certificate; a new one is "
            "made only where no file can be read, and can be written",
            certificateFile.toUtf8());
        return UA_STATUSCODE_BADCERTIFICATEINVALID;
    }
    UaPkiProviderOpenSSL provider(m_material->store.trustedRevocationLists,
                                  m_material->store.trustedCertificates);
    OpcUa_Key_Clear(&m_material->privateKey);
    UaStatus status = provider.loadPrivateKey(privateKeyFile, OpcUa_KeyEncoding_Pem, password.toUtf8(),
                                              &m_material->privateKey);
    if (!status.isBad() && m_material->privateKey.type != OpcUa_KeyType_RsaPrivate)
        status = UA_STATUSCODE_BADNOTSUPPORTED;
    if (!status.isBad() && !certificate.matchesPrivateKey(m_material->privateKey))
        status = UA_STATUSCODE_BADSECURITYCHECKSFAILED;
    if (status.isBad()) {
        UaTrace::write(UaTrace::Errors, "security",
                       "the private key %s cannot serve this client's own %s, from %s: %s",
                       privateKeyFile.toUtf8(), certificate.description().toUtf8(), certificateFile.toUtf8(),
                       status.name());
        return status;
    }
    m_material->certificateFile = certificateFile;
    m_material->certificate = certificate.toDER();
    return status;
}

void ClientSecurityInfo::setOffers(const UaEndpointDescriptions& endpoints) {
    OpcUa_EndpointDescription* copy = nullptr;
    if (UA_Array_copy(endpoints.rawData(), endpoints.length(), reinterpret_cast<void**>(&copy),
                      &UA_TYPES[UA_TYPES_ENDPOINTDESCRIPTION]) == UA_STATUSCODE_GOOD) {
        m_material->offers.attach(endpoints.length(), copy);
    }
}

void SessionSecurityInfo::User::set(Kind newKind, const UaString& newName, const UaByteString& newCertificate,
                                    const OpcUa_Byte* bytes, int length) {
    kind = newKind;
    name = newName;
    certificate = newCertificate;
    OpcUa_Key_Clear(&secret);
    if (OpcUa_Key_Assign(&secret, OpcUa_KeyType_OtherPrivate, bytes, static_cast<std::size_t>(length)) !=
        OpcUa_Good)
        throw std::bad_alloc();
}

SessionSecurityInfo::SessionSecurityInfo()
    : securityPolicyUri(UaPkiSecurityPolicy::none().uri), messageSecurityMode(OpcUa_MessageSecurityMode_None),
      m_user(std::make_unique<User>()) {}
SessionSecurityInfo::~SessionSecurityInfo() = default;

void SessionSecurityInfo::setAnonymousUserIdentity() {
    m_user->set(User::Kind::Anonymous, UaString(), UaByteString(), nullptr, 0);
}

void SessionSecurityInfo::setUserPasswordUserIdentity(const UaString& userName, const UaString& password) {
    m_user->set(User::Kind::Password, userName, UaByteString(),
                reinterpret_cast<const OpcUa_Byte*>(password.toUtf8()), password.size());
}

void SessionSecurityInfo::setCertificateUserIdentity(const UaByteString& certificate,
                                                     const UaByteString& privateKey) {
    m_user->set(User::Kind::Certificate, UaString(), certificate, privateKey.data(), privateKey.length());
}

UaStatus SessionSecurityInfo::verifyServerCertificate(void*) {
    UaString applicationUri;
    if (m_material->offers.length() > 0)
        applicationUri = UaString(m_material->offers[0].server.applicationUri);
    const UaPkiVerification result =
        UaPkiCertificateVerifier(UaPkiStore(m_material->store))
            .verify(serverCertificate, applicationUri, securityPolicyUri, UaDateTime::now());
    m_verifiedCertificate = result.status.isBad() ? UaByteString() : serverCertificate;
    m_objections = UaString();
    for (const UaPkiFinding& finding : result.findings) {
        m_objections = UaString((m_objections.isEmpty() ? "" : m_objections.text() + "; and ") +
                                finding.toString().text());
    }
    return result.status;
}

UaStatus SessionSecurityInfo::saveServerCertificate(UaString& name) {
    const UaPkiCertificate certificate = UaPkiCertificate::fromDER(serverCertificate);
    if (certificate.isNull()) {
        UaTrace::write(
            UaTrace::Errors, "security",
            "refused by this client: the server has no certificate that could be trusted from now on");
        return UA_STATUSCODE_BADCERTIFICATEINVALID;
    }
    const UaStatus status = UaPkiStore(m_material->store).saveTrusted(certificate, name);
    UaTrace::write(status.isBad() ? UaTrace::Errors : UaTrace::LifeCycle, "security",
                   "saving the server's %s as %s.der into the trust list %s: %s",
                   certificate.description().toUtf8(), name.toUtf8(),
                   m_material->store.trustedCertificates.toUtf8(), status.name());
    return status;
}

bool SessionSecurityInfo::isVerified() const {
    return m_verifiedCertificate.length() > 0 && m_verifiedCertificate == serverCertificate;
}

} // namespace UaClientSdk
