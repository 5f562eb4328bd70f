#pragma once

#include <ctime>
#include <optional>
#include <set>

#include "certificate_findings.h"
#include "certificate_rules.h"
#include "chain_finder.h"
#include "file_access.h"
#include "revocation_check.h"
#include "security_demands.h"
#include "store_reader.h"

namespace pki {

/// What a chain is checked against.
struct ChainDemands {
    UaString applicationUri;
    SecurityDemands security;
    std::time_t now;
};

/// Checks chains of one server's certificate (OPC UA Part 4, 6.1.3; RFC 5280, 6.1).
class ChainCheck {
public:
    /// All of it has to outlive the check.
    ChainCheck(const StoreContent& store, const UaPkiStoreLocations& locations, const ChainDemands& demands);

    void check(const Chain& chain, CertificateFindings& findings);

private:
    bool isTrusted(const X509* certificate) const;
    void checkEnd(const Chain& chain, CertificateFindings& findings) const;
    void checkApplicationUri(X509* leaf, CertificateFindings& findings);
    void checkTrust(const Chain& chain, CertificateFindings& findings) const;
    void checkRevocation(const Chain& chain, CertificateFindings& findings);

    const StoreContent& m_store;
    const UaPkiStoreLocations& m_locations;
    const ChainDemands& m_demands;
    std::set<Bytes> m_trusted;
    NameBounds m_nameBounds;
    std::optional<UaString> m_uriProblem; ///< of the leaf; empty when there is none
    RevocationCheck m_revocation;
};

} // namespace pki
