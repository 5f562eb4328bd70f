#pragma once

#include <ctime>
#include <vector>

#include "certificate_findings.h"
#include "chain_finder.h"
#include "security_demands.h"

namespace pki {

void checkStructure(const std::vector<X509Ptr>& sent, CertificateFindings& findings);
void checkExtensions(const Chain& chain, CertificateFindings& findings);
/// Authorities may be bound to names.
void checkNameConstraints(const Chain& chain, CertificateFindings& findings);
void checkPolicy(const Chain& chain, const SecurityDemands& demands, CertificateFindings& findings);
void checkValidity(const Chain& chain, std::time_t now, CertificateFindings& findings);
void checkApplicationUri(const X509* leaf, const UaString& expected, CertificateFindings& findings);
void checkUsage(const Chain& chain, CertificateFindings& findings);

} // namespace pki
