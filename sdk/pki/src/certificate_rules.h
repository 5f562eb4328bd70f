#pragma once

#include <vector>

#include "chain_check.h"

namespace pki {

/// What a security policy demands of every key and signature in a chain (OPC UA Part 7, security policies).
struct PolicyRules {
    int fewestRsaBits; ///< of every key
    int mostRsaBits;   ///< of the key that the policy is used with; authorities may have longer ones
    bool sha1Allowed;
};

PolicyRules rulesOfPolicy(const UaString& securityPolicyUri);

void checkStructure(const std::vector<X509Ptr>& sent, CertificateFindings& findings);
void checkPolicy(const Chain& chain, const UaString& securityPolicyUri, CertificateFindings& findings);
void checkTrust(const Chain& chain, const StoreContent& store, const UaPkiStoreLocations& locations,
                CertificateFindings& findings);
void checkApplicationUri(const X509* leaf, const UaString& expected, CertificateFindings& findings);
void checkUsage(const Chain& chain, CertificateFindings& findings);

} // namespace pki
