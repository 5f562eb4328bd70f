#pragma once

#include <memory>
#include <utility>

#include "uabase/byte_array.h"
#include "uabase/byte_string.h"
#include "uabase/date_time.h"
#include "uabase/status.h"
#include "uabase/string.h"
#include "uapki/certificate_info.h"
#include "uapki/identity.h"
#include "uapki/rsa_key_pair.h"
#include "uastack/export.h"
#include "uastack/key.h"

struct x509_st;

/// An X.509 certificate (RFC 5280, OPC UA Part 6, 6.2.2). A value class: copies share the certificate, which
/// never changes. An empty certificate answers every question with an empty text, an empty list or 0.
///
/// Texts are UTF-8; control characters that a certificate's names hold are shown as U+FFFD.
class UASDK_EXPORT UaPkiCertificate {
public:
    enum SignatureAlgorithm { Sha256 = 3 };

    UaPkiCertificate() = default;

    /// Makes an X.509 v3 certificate that holds from now on. With `certificateAuthority` false it carries
    /// what the OPC UA profile demands of an application instance or user certificate; it is self-signed when
    /// the issuer's key is the one that belongs to `subjectKey`. Empty when the input cannot be put into a
    /// certificate: a country that is not of two letters, a URI that is not ASCII, an IP address that is
    /// none, no validity.
    UaPkiCertificate(const UaPkiCertificateInfo& info, const UaPkiIdentity& subject,
                     const UaPkiPublicKey& subjectKey, const UaPkiIdentity& issuer,
                     const UaPkiPrivateKey& issuerKey, bool certificateAuthority,
                     SignatureAlgorithm algorithm);

    /// Empty when the file is missing, unreadable, larger than 256 KiB, or not DER.
    static UaPkiCertificate fromDERFile(const UaString& path);
    /// What a file holds that shall not be replaced by mistake: Good for a certificate (DER), BadNotSupported
    /// for one in another form (PEM, or not quite DER), BadNotFound when there surely is no such file,
    /// BadCertificateInvalid when it surely holds no certificate (it is larger than 256 KiB, or neither), and
    /// BadNotReadable when nobody can tell.
    static UaStatus probeDERFile(const UaString& path);
    /// The first certificate of the bytes; a server may send its issuers behind it. Empty when there is none.
    static UaPkiCertificate fromDER(const UaByteString& der);

    /// True when no certificate was read.
    bool isNull() const { return m_x509 == nullptr; }
    /// True when a certificate was read and its public key can be used. Whether it is within its time and who
    /// trusts it is not asked: that is the verifying side's to judge, and a panel's clock may be wrong.
    bool isValid() const;

    UaByteString toDER() const;
    /// Writes the DER bytes. The file appears whole or, on failure, stays as it was. Returns 0 on success, -1
    /// on failure.
    int toDERFile(const char* path) const;
    int toDERFile(const UaString& path) const;
    /// Whether that would succeed, as far as it can be tried: a file is written beside it, and removed.
    bool couldBeWrittenTo(const UaString& path) const;

    UaPkiIdentity subject() const;
    UaPkiIdentity issuer() const;
    UaPkiCertificateInfo info() const;
    UaString commonName() const { return subject().commonName; }
    /// Upper-case hexadecimal digits, as other tools show it.
    UaString serialNumber() const;
    /// SHA-1 of the DER bytes (OPC UA Part 6, 6.7.2.3).
    UaByteArray thumbPrint() const;
    UaDateTime validFrom() const;
    UaDateTime validTo() const;
    /// Subject and thumbprint in one line, for messages: certificate "CN=...", thumbprint ...
    UaString description() const;

    /// Whether `key` is the private key of this certificate.
    bool matchesPrivateKey(const OpcUa_Key& key) const;

private:
    explicit UaPkiCertificate(std::shared_ptr<x509_st> x509) : m_x509(std::move(x509)) {}
    std::shared_ptr<x509_st> m_x509;
};
