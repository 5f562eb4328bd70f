#pragma once

#include <ctime>
#include <map>
#include <utility>
#include <vector>

#include "certificate_findings.h"
#include "chain_finder.h"
#include "security_demands.h"

namespace pki {

void checkStructure(const std::vector<X509Ptr>& sent, CertificateFindings& findings);
void checkExtensions(const Chain& chain, CertificateFindings& findings);

/// Authorities may be bound to names. A server may send many, with many chains through them: whether a
/// certificate is within the bounds of an authority is found out once.
class NameBounds {
public:
    void check(const Chain& chain, CertificateFindings& findings);

private:
    bool isOutside(X509* certificate, bool isLeaf, X509* authority);

    std::map<std::pair<const X509*, const X509*>, bool> m_known; ///< of a certificate and an authority
};

void checkPolicy(const Chain& chain, const SecurityDemands& demands, CertificateFindings& findings);
void checkValidity(const Chain& chain, std::time_t now, CertificateFindings& findings);
/// Empty when the certificate is for that application.
UaString applicationUriProblem(const X509* leaf, const UaString& expected);
void checkUsage(const Chain& chain, CertificateFindings& findings);

} // namespace pki
