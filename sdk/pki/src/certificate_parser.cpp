#include "certificate_parser.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <openssl/pem.h>

#include "distinguished_name.h"
#include "file_access.h"

namespace pki {
namespace {

/// Private keys, or PEM entries that are encrypted, are nothing to read here; without this OpenSSL would ask
/// for the password on the terminal.
int noPassword(char*, int, int, void*) {
    return -1;
}

X509Ptr readPem(BIO* input, X509Ptr*) {
    return X509Ptr(PEM_read_bio_X509(input, nullptr, noPassword, nullptr));
}
X509CrlPtr readPem(BIO* input, X509CrlPtr*) {
    return X509CrlPtr(PEM_read_bio_X509_CRL(input, nullptr, noPassword, nullptr));
}

/// Everything up to the end; nothing when the reading stopped for any other reason.
template <typename Entry>
std::vector<Entry> readPemEntries(const Bytes& content) {
    const ErrorQueueGuard guard;
    const BioPtr input(BIO_new_mem_buf(content.data(), static_cast<int>(content.size())));
    std::vector<Entry> entries;
    while (input != nullptr) {
        Entry entry = readPem(input.get(), static_cast<Entry*>(nullptr));
        if (entry == nullptr)
            break;
        entries.push_back(std::move(entry));
    }
    const unsigned long error = ERR_peek_last_error();
    const bool atEnd = ERR_GET_LIB(error) == ERR_LIB_PEM && ERR_GET_REASON(error) == PEM_R_NO_START_LINE;
    if (!atEnd)
        entries.clear();
    return entries;
}

std::size_t count(const Bytes& content, std::string_view mark) {
    const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    std::size_t number = 0;
    for (std::size_t at = text.find(mark); at != std::string_view::npos; at = text.find(mark, at + 1))
        ++number;
    return number;
}

bool isControl(unsigned char byte) {
    const bool isLayout = byte >= '\t' && byte <= '\r';
    return (byte < ' ' && !isLayout) || byte == 0x7F;
}

/// A list whose first or last line has come to harm is no entry any more, and may be the one that revokes:
/// there must be as many entries as there are such lines. One dash is looked at, for others may be damaged.
/// Nor is one that stands behind the text in binary form.
bool isPemOf(std::size_t entries, const Bytes& content) {
    return count(content, "-BEGIN") == entries && count(content, "-END") == entries &&
           std::none_of(content.begin(), content.end(), isControl);
}

std::vector<X509CrlPtr> readPemLists(const Bytes& content) {
    std::vector<X509CrlPtr> lists = readPemEntries<X509CrlPtr>(content);
    if (!isPemOf(lists.size() + readPemEntries<X509Ptr>(content).size(), content))
        lists.clear();
    return lists;
}

UaString addressText(const ASN1_OCTET_STRING* address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const int length = ASN1_STRING_length(address);
    const int family = length == 4 ? AF_INET : AF_INET6;
    if (length != 4 && length != 16)
        return {};
    return UaString(inet_ntop(family, ASN1_STRING_get0_data(address), text.data(), text.size()));
}

/// IA5 is ASCII; what else is there is UTF-8 when it can be, and Latin-1 otherwise.
UaString ia5Text(const ASN1_STRING* value) {
    const StringPtr copy(ASN1_STRING_type_new(V_ASN1_UTF8STRING));
    if (copy == nullptr ||
        ASN1_STRING_set(copy.get(), ASN1_STRING_get0_data(value), ASN1_STRING_length(value)) != 1) {
        return {};
    }
    const UaString text = printableText(copy.get());
    return text.isEmpty() ? printableText(value) : text;
}

/// Calls `visit` with each entry of one kind in the subject alternative name.
template <typename Visitor>
void visitAlternativeNames(const X509* certificate, int kind, Visitor visit) {
    const ErrorQueueGuard guard;
    const GeneralNamesPtr names(
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
    for (int i = 0; names != nullptr && i < sk_GENERAL_NAME_num(names.get()); ++i) {
        int type = 0;
        const void* value = GENERAL_NAME_get0_value(sk_GENERAL_NAME_value(names.get(), i), &type);
        if (type == kind)
            visit(static_cast<const ASN1_STRING*>(value));
    }
}

/// What a store's file may have, and a server's chain. What is read takes many times the memory.
constexpr std::ptrdiff_t longestBytes = certificateFileLimit;

} // namespace

X509Ptr parseCertificate(const unsigned char*& position, const unsigned char* end) {
    if (end - position > longestBytes)
        return nullptr;
    const ErrorQueueGuard guard;
    const unsigned char* next = position;
    X509Ptr certificate(d2i_X509(nullptr, &next, end - position));
    if (certificate == nullptr)
        return nullptr;
    Bytes canonical = encode(certificate.get());
    if (!std::equal(canonical.begin(), canonical.end(), position, next))
        return nullptr;
    position = next;
    return certificate;
}

bool parseCertificates(const unsigned char* position, const unsigned char* end,
                       std::vector<X509Ptr>& certificates) {
    while (position != end) {
        X509Ptr certificate = parseCertificate(position, end);
        if (certificate == nullptr)
            return false;
        certificates.push_back(std::move(certificate));
    }
    return !certificates.empty();
}

// A text may begin with the byte that every DER file begins with, a "0": what counts is whether it can be
// read.
std::vector<X509Ptr> parseCertificateFile(const Bytes& content) {
    std::vector<X509Ptr> certificates;
    if (parseCertificates(content.data(), content.data() + content.size(), certificates))
        return certificates;
    return certificates.empty() ? readPemEntries<X509Ptr>(content) : std::vector<X509Ptr>();
}

bool holdsCertificatesAlone(const Bytes& content) {
    std::vector<X509Ptr> certificates;
    if (parseCertificates(content.data(), content.data() + content.size(), certificates))
        return true;
    const std::size_t entries = readPemEntries<X509Ptr>(content).size();
    return entries != 0 && isPemOf(entries, content);
}

bool looksLikeCertificate(const Bytes& content) {
    const ErrorQueueGuard guard;
    const unsigned char* position = content.data();
    const X509Ptr lenient(d2i_X509(nullptr, &position, static_cast<long>(content.size())));
    return lenient != nullptr || count(content, "-----BEGIN ") > 0;
}

std::vector<X509CrlPtr> parseRevocationListFile(const Bytes& content) {
    const ErrorQueueGuard guard;
    const unsigned char* position = content.data();
    const unsigned char* end = position + content.size();
    std::vector<X509CrlPtr> lists;
    while (position != end) {
        X509CrlPtr list(d2i_X509_CRL(nullptr, &position, end - position));
        if (list == nullptr)
            return lists.empty() ? readPemLists(content) : std::vector<X509CrlPtr>();
        lists.push_back(std::move(list));
    }
    return lists;
}

Bytes encode(const X509* certificate) {
    const ErrorQueueGuard guard;
    const int length = i2d_X509(certificate, nullptr);
    if (length <= 0)
        return {};
    Bytes bytes(static_cast<std::size_t>(length));
    unsigned char* target = bytes.data();
    i2d_X509(certificate, &target);
    return bytes;
}

UaByteArray thumbprint(const X509* certificate) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (X509_digest(certificate, EVP_sha1(), digest.data(), &length) != 1)
        return {};
    return UaByteArray(digest.data(), static_cast<int>(length));
}

std::vector<std::string> uriBytes(const X509* certificate) {
    std::vector<std::string> uris;
    visitAlternativeNames(certificate, GEN_URI, [&uris](const ASN1_STRING* value) {
        const unsigned char* bytes = ASN1_STRING_get0_data(value);
        uris.emplace_back(bytes, bytes + ASN1_STRING_length(value));
    });
    return uris;
}

std::vector<UaString> alternativeNames(const X509* certificate, int kind) {
    std::vector<UaString> texts;
    visitAlternativeNames(certificate, kind, [&texts, kind](const ASN1_STRING* value) {
        texts.push_back(kind == GEN_IPADD ? addressText(value) : ia5Text(value));
    });
    return texts;
}

UaDateTime readTime(const ASN1_TIME* time) {
    const ErrorQueueGuard guard;
    std::tm fields{};
    if (time == nullptr || ASN1_TIME_to_tm(time, &fields) != 1)
        return UaDateTime();
    return UaDateTime::fromUnixTime(timegm(&fields));
}

} // namespace pki
