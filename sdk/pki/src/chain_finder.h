#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "file_access.h"
#include "openssl_handles.h"
#include "store_reader.h"

namespace pki {

/// Certificates from the server's own (index 0) up to the last issuer that was found; borrowed.
struct Chain {
    enum class End {
        Root,           ///< the last one has signed itself
        IssuerMissing,  ///< nobody known has signed the last one
        WrongSignature, ///< the one who should have signed the last one has not
        TooLong,
        GivenUp ///< too many could have signed the last one, or one above it
    };

    std::vector<X509*> certificates;
    End end = End::IssuerMissing;
};

/// Whether it bears its issuer's name; it need not have signed itself.
bool isSelfIssued(const X509* certificate);

/// Finds every chain from a server's certificate upwards. Whoever has signed a certificate, and has its
/// issuer's name, is an issuer: several may bear one name and one key identifier, and a stranger's among them
/// must not hide the right one. Nothing depends on the order in which certificates are known.
class ChainFinder {
public:
    /// `sent` is what the server sent, its own certificate first. Both have to outlive what is found.
    ChainFinder(const std::vector<X509Ptr>& sent, const StoreContent& store);

    /// The next chain, shorter ones first; nothing when there is no other. When too much was tried, the last
    /// one says so.
    std::optional<Chain> next();

private:
    using Certificates = std::vector<X509*>;

    /// Those who have signed a certificate.
    struct Issuers {
        bool isSelfSigned = false;
        /// Whether one who has not signed is, by name and key identifier, the one who should have.
        bool isForged = false;
        Certificates signers;
    };

    void add(const std::vector<X509Ptr>& certificates, std::set<Bytes>& known);
    bool hasSigned(X509* issuer, X509* certificate);
    Issuers findIssuers(X509* certificate);
    const Issuers& issuersOf(X509* certificate);
    bool extend(const Certificates& chain, const Certificates& signers);

    X509* m_leaf;
    Certificates m_known;
    std::map<const X509*, Issuers> m_issuers;
    std::deque<Certificates> m_open;
    std::size_t m_signatureChecks = 0;
    std::size_t m_chains = 1;
    bool m_hasGivenUp = false;
};

} // namespace pki
