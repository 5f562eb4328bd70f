#include "uapki/provider.h"

#include "openssl_use.h"
#include "private_key_file.h"

UaPkiProvider::~UaPkiProvider() = default;

UaPkiProviderOpenSSL::UaPkiProviderOpenSSL(const UaString& revocationListLocation,
                                           const UaString& trustListLocation)
    : m_store(UaPkiStoreLocations{trustListLocation, revocationListLocation, {}, {}}) {}

UaPkiProviderOpenSSL::~UaPkiProviderOpenSSL() = default;

UaStatus UaPkiProviderOpenSSL::openCertificateStore() {
    return m_store.open();
}

UaStatus UaPkiProviderOpenSSL::loadPrivateKey(const UaString& file, OpcUa_UInt32 encoding,
                                              const char* password, OpcUa_Key* key) {
    if (key == nullptr)
        return OpcUa_BadInvalidArgument;
    const pki::OpenSslUse use;
    if (!use.isPossible())
        return OpcUa_BadDecodingError;
    return encoding == OpcUa_KeyEncoding_Pem ? pki::loadPrivateKeyFile(file, password, key)
                                             : UaStatus(OpcUa_BadNotSupported);
}
