#include "revocation_list.h"

#include <algorithm>
#include <ctime>
#include <initializer_list>
#include <memory>

#include <openssl/objects.h>
#include <openssl/rsa.h>

namespace pki {
namespace {

using PssParametersPtr = std::unique_ptr<RSA_PSS_PARAMS, Releaser<RSA_PSS_PARAMS_free>>;

/// Null when there is none; `isMalformed` is set when there is one that cannot be read, or there are several.
template <typename Pointer>
Pointer readExtension(const X509_CRL* list, int nid, bool& isMalformed) {
    int critical = 0;
    Pointer value(
        static_cast<typename Pointer::pointer>(X509_CRL_get_ext_d2i(list, nid, &critical, nullptr)));
    constexpr int absent = -1;
    isMalformed = isMalformed || (value == nullptr && critical != absent);
    return value;
}

Bytes extensionBytes(const X509_CRL* list, int nid) {
    const int index = X509_CRL_get_ext_by_NID(list, nid, -1);
    if (index < 0)
        return {};
    const ASN1_OCTET_STRING* value = X509_EXTENSION_get_data(X509_CRL_get_ext(list, index));
    const unsigned char* bytes = ASN1_STRING_get0_data(value);
    return {bytes, bytes + ASN1_STRING_length(value)};
}

bool isUnknownCritical(X509_EXTENSION* extension, std::initializer_list<int> known) {
    const int nid = OBJ_obj2nid(X509_EXTENSION_get_object(extension));
    return X509_EXTENSION_get_critical(extension) != 0 &&
           std::find(known.begin(), known.end(), nid) == known.end();
}

/// A certificate's issuer stands in entries of indirect lists alone, which never count as a whole.
bool hasUnknownCriticalExtension(const X509_REVOKED* entry) {
    for (int i = 0; i < X509_REVOKED_get_ext_count(entry); ++i)
        if (isUnknownCritical(X509_REVOKED_get_ext(entry, i), {NID_crl_reason, NID_invalidity_date}))
            return true;
    return false;
}

int pssDigest(const X509_ALGOR* algorithm) {
    int type = 0;
    const void* value = nullptr;
    X509_ALGOR_get0(nullptr, &type, &value, algorithm);
    if (type != V_ASN1_SEQUENCE)
        return NID_sha1; // RFC 8017, A.2.3: what holds where nothing is said
    const auto* sequence = static_cast<const ASN1_STRING*>(value);
    const PssParametersPtr parameters(
        static_cast<RSA_PSS_PARAMS*>(ASN1_item_unpack(sequence, ASN1_ITEM_rptr(RSA_PSS_PARAMS))));
    if (parameters == nullptr || parameters->hashAlgorithm == nullptr)
        return NID_sha1;
    return OBJ_obj2nid(parameters->hashAlgorithm->algorithm);
}

} // namespace

RevocationList::RevocationList(X509_CRL* list) : m_list(list) {
    m_scope = readExtension<IssuingDistributionPointPtr>(list, NID_issuing_distribution_point, m_isMalformed);
    m_scopeBytes = extensionBytes(list, NID_issuing_distribution_point);
    m_number = readExtension<IntegerPtr>(list, NID_crl_number, m_isMalformed);
    m_baseNumber = readExtension<IntegerPtr>(list, NID_delta_crl, m_isMalformed);
    m_isDelta = X509_CRL_get_ext_by_NID(list, NID_delta_crl, -1) >= 0;
}

bool RevocationList::namesKeyOf(const X509* issuer) const {
    const AuthorityKeyIdPtr identifier(static_cast<AUTHORITY_KEYID*>(
        X509_CRL_get_ext_d2i(m_list, NID_authority_key_identifier, nullptr, nullptr)));
    return X509_check_akid(issuer, identifier.get()) == X509_V_OK;
}

int RevocationList::signatureDigest() const {
    const X509_ALGOR* algorithm = nullptr;
    X509_CRL_get0_signature(m_list, nullptr, &algorithm);
    const int signature = X509_CRL_get_signature_nid(m_list);
    int digest = NID_undef;
    if (signature == NID_rsassaPss)
        return pssDigest(algorithm);
    if (signature == NID_ED25519 || signature == NID_ED448)
        return NID_sha512; // or as good; the scheme has its own
    OBJ_find_sigid_algs(signature, &digest, nullptr);
    return digest;
}

// X509_cmp_time answers 0 for what is no time.
ListTime RevocationList::timeAt(std::time_t now) const {
    if (X509_cmp_time(X509_CRL_get0_lastUpdate(m_list), &now) != -1)
        return ListTime::NotYetValid;
    const ASN1_TIME* end = X509_CRL_get0_nextUpdate(m_list);
    return end == nullptr || X509_cmp_time(end, &now) == 1 ? ListTime::Current : ListTime::OutOfDate;
}

bool RevocationList::isUnderstood() const {
    return !m_isMalformed && !hasUnknownCriticalExtension();
}

bool RevocationList::hasUnknownCriticalExtension() const {
    for (int i = 0; i < X509_CRL_get_ext_count(m_list); ++i) {
        if (isUnknownCritical(X509_CRL_get_ext(m_list, i), {NID_issuing_distribution_point, NID_delta_crl,
                                                            NID_crl_number, NID_authority_key_identifier})) {
            return true;
        }
    }
    STACK_OF(X509_REVOKED)* entries = X509_CRL_get_REVOKED(m_list);
    for (int i = 0; i < sk_X509_REVOKED_num(entries); ++i)
        if (pki::hasUnknownCriticalExtension(sk_X509_REVOKED_value(entries, i)))
            return true;
    return false;
}

bool RevocationList::continues(const RevocationList& base) const {
    return m_number != nullptr && m_baseNumber != nullptr && base.m_number != nullptr &&
           m_scopeBytes == base.m_scopeBytes &&
           ASN1_INTEGER_cmp(m_baseNumber.get(), base.m_number.get()) <= 0 &&
           ASN1_INTEGER_cmp(base.m_number.get(), m_number.get()) <= 0;
}

bool RevocationList::isNewerThan(const RevocationList& other) const {
    const int difference = m_number != nullptr && other.m_number != nullptr
                               ? ASN1_INTEGER_cmp(m_number.get(), other.m_number.get())
                               : 0;
    return difference > 0 ||
           (difference == 0 &&
            ASN1_TIME_compare(X509_CRL_get0_lastUpdate(m_list), X509_CRL_get0_lastUpdate(other.m_list)) == 1);
}

ListEntry RevocationList::entryOf(X509* certificate) const {
    constexpr int removed = 2;
    X509_REVOKED* entry = nullptr;
    const int found = X509_CRL_get0_by_cert(m_list, &entry, certificate);
    if (found == 0)
        return ListEntry::None;
    return found == removed && m_isDelta ? ListEntry::NoLongerRevoked : ListEntry::Revoked;
}

} // namespace pki
