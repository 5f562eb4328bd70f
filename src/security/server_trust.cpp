#include "security/server_trust.h"

#include <exception>
#include <string>

#include "client/opcua_client.h"
#include "subscription/callback.h"
#include "uabase/byte_array.h"
#include "uabase/date_time.h"
#include "uabase/trace.h"
#include "uapki/certificate.h"

namespace {

using Application = COpcUaClientInterface::OpcUaCallBack;

// What the application answers; anything else is a refusal.
constexpr int acceptOnce = 0;
constexpr int trustPermanently = 1;
constexpr int reject = 2;

UaString thumbprintOf(const UaPkiCertificate& certificate) {
    return certificate.thumbPrint().toHex(false);
}

/// For messages.
std::string serverText(const UaByteString& certificate) {
    return certificate.length() == 0
               ? "the server without a certificate"
               : "the server's " + UaPkiCertificate::fromDER(certificate).description().text();
}

/// Empty for what is no time.
std::string dateText(UaDateTime date) {
    return date.ticks() == 0 ? "" : date.toString().text();
}

void describeCertificate(const UaByteString& data, _OpcUaCertificateMsg& message) {
    const UaPkiCertificate certificate = UaPkiCertificate::fromDER(data);
    const UaPkiIdentity issuer = certificate.issuer();
    message.commonName = issuer.commonName.text();
    message.organization = issuer.organization.text();
    message.organizationUnit = issuer.organizationUnit.text();
    message.locality = issuer.locality.text();
    message.state = issuer.state.text();
    message.country = issuer.country.text();
    message.domainComponent = issuer.domainComponent.text();
    message.applicationUri = certificate.info().uri.text();
    message.serialNumber = certificate.serialNumber().text();
    message.thumbprint = thumbprintOf(certificate).text();
    message.validFrom = dateText(certificate.validFrom());
    message.validTo = dateText(certificate.validTo());
}

int ask(Application& application, const UaByteString& certificate) {
    _OpcUaCertificateMsg message;
    describeCertificate(certificate, message);
    try {
        return application.OpcUaTrustServerCertificate(message);
    } catch (const std::exception& error) {
        UaTrace::write(UaTrace::Errors, "security", "the application's trust decision threw: %s",
                       error.what());
    } catch (...) {
        UaTrace::write(UaTrace::Errors, "security", "the application's trust decision threw");
    }
    return reject;
}

} // namespace

int decideOnServer(UaClientSdk::SessionSecurityInfo& securityInfo, void* callback,
                   const UaString& trustList) {
    const UaStatus verified = securityInfo.verifyServerCertificate(nullptr);
    if (!verified.isBad())
        return result::success;
    const std::string server = serverText(securityInfo.serverCertificate);
    if (securityInfo.serverCertificate.length() == 0) {
        UaTrace::write(UaTrace::Errors, "security",
                       "refused by this client, unless the application accepts it for this connection: the "
                       "server has no certificate, so nothing proves who it is, and no password can be "
                       "encrypted to it");
    }
    if (callback != nullptr) {
        const int decision = ask(*static_cast<Application*>(callback), securityInfo.serverCertificate);
        if (decision == acceptOnce) {
            UaTrace::write(UaTrace::Warnings, "security",
                           "the application accepted %s for this connection, in spite of %s", server.c_str(),
                           verified.name());
            securityInfo.doServerCertificateVerify = false;
            return result::success;
        }
        if (decision != trustPermanently) {
            UaTrace::write(UaTrace::Errors, "security",
                           "refused by this client: the application rejected %s, which had not passed "
                           "verification (%s); nothing was saved into the trust list %s",
                           server.c_str(), verified.name(), trustList.toUtf8());
            securityInfo.doServerCertificateVerify = true;
            return result::serverCertificateRejected;
        }
    }
    // Without an application to ask, the first certificate that a server shows is trusted from then on.
    UaString name = thumbprintOf(UaPkiCertificate::fromDER(securityInfo.serverCertificate));
    if (securityInfo.saveServerCertificate(name).isBad())
        return result::serverCertificateNotSaved;
    securityInfo.doServerCertificateVerify = true;
    return result::success;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is part of the binary interface
void COpcUaClient::GetServerCertMsg(UaByteString certificateData, _OpcUaCertificateMsg& message) {
    describeCertificate(certificateData, message);
}

int COpcUaClient::checkServerCertificateTrust(UaClientSdk::SessionSecurityInfo& securityInfo) {
    return decideOnServer(securityInfo, m_callback->applicationCallback,
                          m_configuration.CertificateTrustListLocation);
}
