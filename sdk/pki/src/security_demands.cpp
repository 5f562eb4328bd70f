#include "security_demands.h"

#include <limits>

#include <openssl/objects.h>

#include "uapki/security_policy.h"

namespace pki {
namespace {

constexpr int sufficientSignatureBits = 112; // SHA-2 and better; SHA-1 has 63, MD5 fewer

} // namespace

SecurityDemands SecurityDemands::of(const UaString& securityPolicyUri) {
    const UaPkiSecurityPolicy* policy = UaPkiSecurityPolicy::find(securityPolicyUri);
    if (policy == nullptr)
        return {2048, 4096, false};
    // Without a policy for the channel it is the token policy, not known yet, that a key must suit.
    if (policy->isNone())
        return {1024, std::numeric_limits<int>::max(), true};
    return {policy->minimumKeyBits, policy->maximumKeyBits,
            policy->asymmetricSignature == UaPkiSecurityPolicy::Signature::RsaPkcs15Sha1};
}

bool SecurityDemands::allowDigest(int digest) const {
    const EVP_MD* algorithm = EVP_get_digestbynid(digest);
    constexpr int bitsAByte = 8;
    return algorithm != nullptr && (EVP_MD_get_size(algorithm) * bitsAByte / 2 >= sufficientSignatureBits ||
                                    (isSha1Allowed && digest == NID_sha1));
}

bool SecurityDemands::allowSignature(X509* certificate) const {
    int digest = NID_undef;
    int securityBits = 0;
    if (X509_get_signature_info(certificate, &digest, nullptr, &securityBits, nullptr) != 1)
        return false;
    return securityBits >= sufficientSignatureBits || (isSha1Allowed && digest == NID_sha1);
}

} // namespace pki
