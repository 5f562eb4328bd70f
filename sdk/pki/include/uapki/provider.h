#pragma once

#include "uabase/status.h"
#include "uabase/string.h"
#include "uapki/store.h"
#include "uastack/export.h"
#include "uastack/key.h"

/// Gives access to keys and to a certificate store, whatever keeps them.
class UASDK_EXPORT UaPkiProvider {
public:
    virtual ~UaPkiProvider();

    /// Bad when a location of the store exists and is not a directory that can be listed.
    virtual UaStatus openCertificateStore() = 0;

    /// Reads a private key and puts it, decrypted, into `key`, which the caller has initialised and clears in
    /// any case. `password` may be null. Never asks anyone for a password. On failure `key` is as initialised
    /// and the status is
    /// - BadNotSupported: the encoding is not OpcUa_KeyEncoding_Pem;
    /// - BadNotFound: no such file;
    /// - BadNotReadable: no permission, not a regular file, or larger than 64 KiB;
    /// - BadSecurityChecksFailed: the key is encrypted and `password` does not open it;
    /// - BadDecodingError: no private key in the file.
    /// The trace warns of a key file that others can read.
    /// A key that is not RSA is loaded with the type OpcUa_KeyType_OtherPrivate and without bytes.
    virtual UaStatus loadPrivateKey(const UaString& file, OpcUa_UInt32 encoding, const char* password,
                                    OpcUa_Key* key) = 0;
};

/// Keys and certificates in files.
class UASDK_EXPORT UaPkiProviderOpenSSL : public UaPkiProvider {
public:
    UaPkiProviderOpenSSL(const UaString& revocationListLocation, const UaString& trustListLocation);
    ~UaPkiProviderOpenSSL() override;

    UaStatus openCertificateStore() override;
    UaStatus loadPrivateKey(const UaString& file, OpcUa_UInt32 encoding, const char* password,
                            OpcUa_Key* key) override;

private:
    UaPkiStore m_store;
};
