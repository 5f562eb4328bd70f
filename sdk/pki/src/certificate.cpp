#include "uapki/certificate.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "certificate_parser.h"
#include "distinguished_name.h"
#include "file_access.h"
#include "key_record.h"
#include "openssl_use.h"
#include "uabase/trace.h"

namespace {

constexpr mode_t certificateFileMode = 0644;

} // namespace

UaPkiCertificate UaPkiCertificate::fromDERFile(const UaString& path) {
    pki::Bytes content;
    std::string problem;
    UaPkiCertificate certificate;
    if (pki::readFile(path.toUtf8(), pki::certificateFileLimit, content, problem).isGood()) {
        certificate = fromDER(UaByteString(static_cast<int>(content.size()), content.data()));
        problem = "not a DER certificate";
    }
    if (certificate.isNull()) {
        UaTrace::write(UaTrace::Warnings, "pki", "no certificate read from %s: %s", path.toUtf8(),
                       problem.c_str());
    }
    return certificate;
}

UaStatus UaPkiCertificate::probeDERFile(const UaString& path) {
    const pki::OpenSslUse use;
    if (!use.isPossible())
        return OpcUa_BadNotReadable;
    pki::Bytes content;
    std::string problem;
    const UaStatus status = pki::readFile(path.text(), pki::certificateFileLimit, content, problem);
    if (status.statusCode() == OpcUa_BadOutOfRange)
        return OpcUa_BadCertificateInvalid;
    if (status.isBad())
        return status;
    if (!fromDER(UaByteString(static_cast<int>(content.size()), content.data())).isNull())
        return OpcUa_Good;
    return pki::looksLikeCertificate(content) ? OpcUa_BadNotSupported : OpcUa_BadCertificateInvalid;
}

UaPkiCertificate UaPkiCertificate::fromDER(const UaByteString& der) {
    const pki::OpenSslUse use;
    if (!use.isPossible())
        return {};
    const unsigned char* position = der.data();
    pki::X509Ptr x509 = pki::parseCertificate(position, position + der.length());
    return UaPkiCertificate(std::shared_ptr<X509>(std::move(x509)));
}

bool UaPkiCertificate::isValid() const {
    const pki::OpenSslUse use;
    return use.isPossible() && m_x509 != nullptr && X509_get0_pubkey(m_x509.get()) != nullptr;
}

UaByteString UaPkiCertificate::toDER() const {
    const pki::OpenSslUse use;
    if (isNull() || !use.isPossible())
        return {};
    pki::Bytes bytes = pki::encode(m_x509.get());
    return UaByteString(static_cast<int>(bytes.size()), bytes.data());
}

int UaPkiCertificate::toDERFile(const char* path) const {
    const pki::OpenSslUse use;
    if (!use.isPossible() || isNull() || path == nullptr)
        return -1;
    pki::Bytes bytes = pki::encode(m_x509.get());
    return pki::writeFileAtomically(path, bytes.data(), bytes.size(), certificateFileMode) ? 0 : -1;
}

int UaPkiCertificate::toDERFile(const UaString& path) const {
    return toDERFile(path.toUtf8());
}

bool UaPkiCertificate::couldBeWrittenTo(const UaString& path) const {
    const pki::OpenSslUse use;
    if (!use.isPossible() || isNull())
        return false;
    const pki::Bytes bytes = pki::encode(m_x509.get());
    return pki::couldWriteFile(path.text(), bytes.data(), bytes.size(), certificateFileMode);
}

UaPkiIdentity UaPkiCertificate::subject() const {
    const pki::OpenSslUse use;
    return isNull() || !use.isPossible() ? UaPkiIdentity()
                                         : pki::readName(X509_get_subject_name(m_x509.get()));
}

UaPkiIdentity UaPkiCertificate::issuer() const {
    const pki::OpenSslUse use;
    return isNull() || !use.isPossible() ? UaPkiIdentity()
                                         : pki::readName(X509_get_issuer_name(m_x509.get()));
}

UaPkiCertificateInfo UaPkiCertificate::info() const {
    const pki::OpenSslUse use;
    UaPkiCertificateInfo info;
    if (isNull() || !use.isPossible())
        return info;
    auto first = [this](int kind) {
        std::vector<UaString> names = pki::alternativeNames(m_x509.get(), kind);
        return names.empty() ? UaString() : names.front();
    };
    info.uri = first(GEN_URI);
    info.email = first(GEN_EMAIL);
    info.ipAddresses = pki::alternativeNames(m_x509.get(), GEN_IPADD);
    info.dnsNames = pki::alternativeNames(m_x509.get(), GEN_DNS);
    info.validTime = validTo().toUnixTime() - validFrom().toUnixTime();
    return info;
}

UaString UaPkiCertificate::serialNumber() const {
    const pki::OpenSslUse use;
    if (isNull() || !use.isPossible())
        return {};
    const pki::BignumPtr number(ASN1_INTEGER_to_BN(X509_get0_serialNumber(m_x509.get()), nullptr));
    char* text = number != nullptr ? BN_bn2hex(number.get()) : nullptr;
    UaString result(text);
    OPENSSL_free(text);
    return result;
}

UaByteArray UaPkiCertificate::thumbPrint() const {
    const pki::OpenSslUse use;
    return isNull() || !use.isPossible() ? UaByteArray() : pki::thumbprint(m_x509.get());
}

UaDateTime UaPkiCertificate::validFrom() const {
    return isNull() ? UaDateTime() : pki::readTime(X509_get0_notBefore(m_x509.get()));
}

UaDateTime UaPkiCertificate::validTo() const {
    return isNull() ? UaDateTime() : pki::readTime(X509_get0_notAfter(m_x509.get()));
}

UaString UaPkiCertificate::description() const {
    const pki::OpenSslUse use;
    if (isNull() || !use.isPossible())
        return "no certificate";
    return UaString("certificate \"" + pki::nameText(X509_get_subject_name(m_x509.get())).text() +
                    "\", thumbprint " + thumbPrint().toHex(false).text());
}

bool UaPkiCertificate::matchesPrivateKey(const OpcUa_Key& key) const {
    const pki::OpenSslUse use;
    if (isNull() || !use.isPossible())
        return false;
    const pki::KeyPtr privateKey = pki::readRsaPrivateKey(key);
    return privateKey != nullptr && X509_check_private_key(m_x509.get(), privateKey.get()) == 1;
}
