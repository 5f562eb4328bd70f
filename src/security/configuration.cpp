#include "security/configuration.h"

#include <cstring>

#include "uabase/settings.h"
#include "uabase/text_buffer.h"

namespace {

struct Setting {
    const char* key;
    const char* defaultValue;
    UaString Configuration::* member;
};

constexpr Setting knownSettings[] = {
    {"CertificateTrustListLocation", "[ConfigPath]/pkiclient/trusted/certs/",
     &Configuration::CertificateTrustListLocation},
    {"CertificateRevocationListLocation", "[ConfigPath]/pkiclient/trusted/crl/",
     &Configuration::CertificateRevocationListLocation},
    {"IssuersCertificatesLocation", "[ConfigPath]/pkiclient/issuers/certs/",
     &Configuration::IssuersCertificatesLocation},
    {"IssuersRevocationListLocation", "[ConfigPath]/pkiclient/issuers/crl/",
     &Configuration::IssuersRevocationListLocation},
    {"ClientCertificate", "[ConfigPath]/pkiclient/own/certs/HMIClient.der",
     &Configuration::ClientCertificate},
    {"ClientPrivateKey", "[ConfigPath]/pkiclient/own/private/HMIClient.pem",
     &Configuration::ClientPrivateKey},
    {"UserCertificate", "[ConfigPath]/pkiuser/own/certs/user.der", &Configuration::UserCertificate},
    {"UserPrivateKey", "[ConfigPath]/pkiuser/own/private/user.pem", &Configuration::UserPrivateKey},
};

constexpr std::size_t textBufferSize = 512;

void replaceToken(UaString& value, const char* token, const UaString& path) {
    const char* found = std::strstr(value.toUtf8(), token);
    if (found == nullptr)
        return;
    char text[textBufferSize] = "";
    UaBase_strlcat(text, path.toUtf8(), textBufferSize);
    const std::size_t length = std::strlen(text);
    if (length > 0 && text[length - 1] == '/')
        text[length - 1] = '\0';
    UaBase_strlcat(text, found + std::strlen(token), textBufferSize);
    value = UaString(text);
}

} // namespace

Configuration::Configuration() : applicationPath(nullptr) {}

Configuration::~Configuration() {
    userPrivateKeyData.wipe();
}

int Configuration::loadConfiguration(const UaString& iniFile) {
    UaSettings file(iniFile.toUtf16());
    file.beginGroup("UaClientConfig");
    const UaString path(applicationPath);
    for (const Setting& setting : knownSettings) {
        UaString& value = this->*setting.member;
        value = file.value(setting.key, UaVariant(UaString(setting.defaultValue))).toString();
        replaceApplicationPath(value, path);
        replaceConfigPath(value, path);
    }
    return 0;
}

void Configuration::replaceApplicationPath(UaString& value, const UaString& path) {
    replaceToken(value, "[ApplicationPath]", path);
}

void Configuration::replaceConfigPath(UaString& value, const UaString& path) {
    replaceToken(value, "[ConfigPath]", path);
}
