#include "chain_check.h"

#include <algorithm>
#include <cstddef>

#include "certificate_parser.h"
#include "certificate_rules.h"

namespace pki {
namespace {

using Step = UaPkiVerificationStep;

} // namespace

ChainCheck::ChainCheck(const StoreContent& store, const UaPkiStoreLocations& locations,
                       const ChainDemands& demands)
    : m_store(store), m_locations(locations), m_demands(demands),
      m_revocation(store, demands.security, demands.now) {
    for (const X509Ptr& certificate : store.trusted)
        m_trusted.insert(encode(certificate.get()));
}

/// Trust is in the very certificate, byte by byte.
bool ChainCheck::isTrusted(const X509* certificate) const {
    return m_trusted.count(encode(certificate)) > 0;
}

void ChainCheck::check(const Chain& chain, CertificateFindings& findings) {
    const ErrorQueueGuard guard;
    checkEnd(chain, findings);
    checkExtensions(chain, findings);
    m_nameBounds.check(chain, findings);
    checkPolicy(chain, m_demands.security, findings);
    checkTrust(chain, findings);
    checkValidity(chain, m_demands.now, findings);
    checkApplicationUri(chain.certificates.front(), findings);
    checkUsage(chain, findings);
    checkRevocation(chain, findings);
}

void ChainCheck::checkEnd(const Chain& chain, CertificateFindings& findings) const {
    X509* last = chain.certificates.back();
    switch (chain.end) {
    case Chain::End::Root:
        break;
    case Chain::End::IssuerMissing:
        findings.add(Step::Chain, OpcUa_BadCertificateChainIncomplete, last,
                     "its issuer's certificate is missing", m_locations.issuerCertificates);
        break;
    case Chain::End::TooLong:
        findings.add(Step::Chain, OpcUa_BadCertificateChainIncomplete, last,
                     "there are too many issuers above it", m_locations.issuerCertificates);
        break;
    case Chain::End::GivenUp:
        findings.add(Step::Chain, OpcUa_BadCertificateChainIncomplete, last,
                     "too many certificates could be its issuers, not all of them were tried",
                     m_locations.issuerCertificates);
        break;
    case Chain::End::WrongSignature:
        findings.add(Step::Signature, OpcUa_BadCertificateInvalid, last, "its issuer has not signed it");
        break;
    }
}

/// The leaf is the same in all chains, and may have many names.
void ChainCheck::checkApplicationUri(X509* leaf, CertificateFindings& findings) {
    if (!m_uriProblem)
        m_uriProblem = applicationUriProblem(leaf, m_demands.applicationUri);
    if (!m_uriProblem->isEmpty())
        findings.add(Step::ApplicationUri, OpcUa_BadCertificateUriInvalid, leaf, *m_uriProblem);
}

void ChainCheck::checkTrust(const Chain& chain, CertificateFindings& findings) const {
    const auto& certificates = chain.certificates;
    if (std::none_of(certificates.begin(), certificates.end(),
                     [this](const X509* certificate) { return isTrusted(certificate); })) {
        findings.add(Step::TrustList, OpcUa_BadCertificateUntrusted, certificates.front(),
                     "neither the certificate nor one of its issuers is in the trust list",
                     m_locations.trustedCertificates);
    }
}

/// A root cannot vouch for itself, so no list of its own is demanded; but it may say that it is revoked.
void ChainCheck::checkRevocation(const Chain& chain, CertificateFindings& findings) {
    const auto& certificates = chain.certificates;
    for (std::size_t i = 0; i < certificates.size(); ++i) {
        const bool isLast = i + 1 == certificates.size();
        if (isLast && chain.end != Chain::End::Root)
            break;
        X509* certificate = certificates[i];
        X509* issuer = certificates[isLast ? i : i + 1];
        const RevocationState& state = m_revocation.of(certificate, issuer);
        const UaString location =
            isTrusted(issuer) ? m_locations.trustedRevocationLists : m_locations.issuerRevocationLists;
        if (state.isRevoked) {
            findings.add(Step::Revocation,
                         i == 0 ? OpcUa_BadCertificateRevoked : OpcUa_BadCertificateIssuerRevoked,
                         certificate, "its issuer has revoked it", location);
        }
        // What cannot be read may be a list of any issuer, and may revoke anything.
        const bool isUnreadable = !m_store.unreadableLists.empty();
        if (!isLast && (!state.isKnown || isUnreadable)) {
            findings.add(
                Step::FindRevocationList,
                i == 0 ? OpcUa_BadCertificateRevocationUnknown : OpcUa_BadCertificateIssuerRevocationUnknown,
                certificate,
                state.isKnown ? UaString("a revocation list cannot be read, and may be its issuer's: " +
                                         m_store.unreadableLists.front().text())
                              : UaString(state.problem),
                location);
        }
    }
}

} // namespace pki
