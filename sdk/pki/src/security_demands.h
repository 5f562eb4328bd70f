#pragma once

#include "openssl_handles.h"
#include "uabase/string.h"

namespace pki {

/// What a security policy demands of every key and signature in a chain, and of revocation lists (OPC UA Part
/// 7, security policies).
struct SecurityDemands {
    int fewestRsaBits; ///< of every key
    int mostRsaBits;   ///< of the key that the policy is used with; authorities may have longer ones
    bool isSha1Allowed;

    /// An unknown policy demands the most.
    static SecurityDemands of(const UaString& securityPolicyUri);

    /// Of a key that is not RSA (NIST SP 800-57 part 1, 5.6.1.1).
    int fewestSecurityBits() const { return fewestRsaBits < 2048 ? 80 : 112; }
    bool allowDigest(int digest) const;
    bool allowSignature(X509* certificate) const;
};

} // namespace pki
