#pragma once

#include <ctime>

#include "file_access.h"
#include "openssl_handles.h"
#include "revocation_scope.h"

namespace pki {

enum class ListEntry { None, Revoked, NoLongerRevoked };
enum class ListTime { Current, NotYetValid, OutOfDate };

/// A certificate revocation list (RFC 5280, 5) and what can be read from it. Who has signed it is not asked
/// here.
class RevocationList {
public:
    /// `list` is borrowed.
    explicit RevocationList(X509_CRL* list);

    const X509_NAME* issuer() const { return X509_CRL_get_issuer(m_list); }
    bool isSignedWith(EVP_PKEY* key) const { return X509_CRL_verify(m_list, key) == 1; }
    /// Whether it names the issuer's key as the one that it is signed with; also true when it names none.
    bool namesKeyOf(const X509* issuer) const;
    /// The digest that its signature is of; NID_undef when it is not known.
    int signatureDigest() const;
    ListTime timeAt(std::time_t now) const;
    /// False when something in it is malformed, or critical and not known: who is not in it may be revoked.
    bool isUnderstood() const;

    /// The bytes of its scope. Lists of one scope continue each other, and share their numbers.
    const Bytes& scope() const { return m_scopeBytes; }
    Coverage coverageOf(X509* certificate) const { return pki::coverageOf(m_scope.get(), certificate); }

    /// Whether it holds nothing but what has changed since another list, the base.
    bool isDelta() const { return m_isDelta; }
    /// Whether the changes in this delta are all that came after `base`.
    bool continues(const RevocationList& base) const;
    /// By its number, or, where one of the two has none or they have the same, by its date.
    bool isNewerThan(const RevocationList& other) const;

    ListEntry entryOf(X509* certificate) const;

private:
    bool hasUnknownCriticalExtension() const;

    X509_CRL* m_list;
    IssuingDistributionPointPtr m_scope;
    Bytes m_scopeBytes;
    IntegerPtr m_number;
    IntegerPtr m_baseNumber;
    bool m_isDelta = false;
    bool m_isMalformed = false;
};

} // namespace pki
