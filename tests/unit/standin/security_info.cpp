#include "uaclient/security_info.h"

#include <cstddef>
#include <string>

#include "standin.h"

using standin::script;

namespace UaClientSdk {
namespace {

UaStatus answer(const std::string& operation, const void* object, const std::string& arguments) {
    script().record(operation, object, arguments);
    return script().onSecurity ? script().onSecurity(operation) : UaStatus();
}

std::string bytesOf(const UaByteString& bytes) {
    return std::string(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(bytes.length()));
}

} // namespace

struct ClientSecurityInfo::Material {};
struct SessionSecurityInfo::User {};

ClientSecurityInfo::ClientSecurityInfo() = default;
ClientSecurityInfo::~ClientSecurityInfo() = default;

UaStatus ClientSecurityInfo::initializePkiProviderOpenSSL(const UaString& revocationListLocation,
                                                          const UaString& trustListLocation,
                                                          const UaString& issuersRevocationListLocation,
                                                          const UaString& issuersCertificatesLocation) {
    return answer("ClientSecurityInfo::initializePkiProviderOpenSSL", this,
                  revocationListLocation.text() + "|" + trustListLocation.text() + "|" +
                      issuersRevocationListLocation.text() + "|" + issuersCertificatesLocation.text());
}

UaStatus ClientSecurityInfo::loadClientCertificateOpenSSL(const UaString& certificateFile,
                                                          const UaString& privateKeyFile,
                                                          const UaString& password) {
    return answer("ClientSecurityInfo::loadClientCertificateOpenSSL", this,
                  certificateFile.text() + "|" + privateKeyFile.text() + "|" + password.text());
}

void ClientSecurityInfo::setOffers(const UaEndpointDescriptions&) {}

SessionSecurityInfo::SessionSecurityInfo()
    : securityPolicyUri("http://opcfoundation.org/UA/SecurityPolicy#None"),
      messageSecurityMode(OpcUa_MessageSecurityMode_None) {}
SessionSecurityInfo::~SessionSecurityInfo() = default;

void SessionSecurityInfo::setAnonymousUserIdentity() {
    script().record("SessionSecurityInfo::setAnonymousUserIdentity", this);
}

void SessionSecurityInfo::setUserPasswordUserIdentity(const UaString& userName, const UaString& password) {
    script().record("SessionSecurityInfo::setUserPasswordUserIdentity", this,
                    userName.text() + "|" + password.text());
}

void SessionSecurityInfo::setCertificateUserIdentity(const UaByteString& certificate,
                                                     const UaByteString& privateKey) {
    script().record("SessionSecurityInfo::setCertificateUserIdentity", this,
                    bytesOf(certificate) + "|" + bytesOf(privateKey));
}

UaStatus SessionSecurityInfo::verifyServerCertificate(void* validationCallback) {
    return answer("SessionSecurityInfo::verifyServerCertificate", this,
                  validationCallback != nullptr ? "callback" : "no callback");
}

UaStatus SessionSecurityInfo::saveServerCertificate(UaString& name) {
    return answer("SessionSecurityInfo::saveServerCertificate", this, name.text());
}

bool SessionSecurityInfo::isVerified() const {
    return false;
}

} // namespace UaClientSdk
