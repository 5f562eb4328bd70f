#include "uapki/security_policy.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

using Policy = UaPkiSecurityPolicy;
using Signature = Policy::Signature;
using Encryption = Policy::Encryption;
using Digest = Policy::Digest;

constexpr const char* rsaSha1 = "http://www.w3.org/2000/09/xmldsig#rsa-sha1";
constexpr const char* rsaSha256 = "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256";
constexpr const char* rsaPssSha256 = "http://opcfoundation.org/UA/security/rsa-pss-sha2-256";
constexpr const char* rsa15 = "http://www.w3.org/2001/04/xmlenc#rsa-1_5";
constexpr const char* rsaOaep = "http://www.w3.org/2001/04/xmlenc#rsa-oaep";
constexpr const char* rsaOaepSha256 = "http://opcfoundation.org/UA/security/rsa-oaep-sha2-256";

// From the weakest to the strongest. Aes128_Sha256_RsaOaep differs from Basic256Sha256 in nothing but its
// shorter AES key, which nobody breaks either; that it is the newer one is why servers commonly give it the
// higher security level.
// clang-format off
constexpr std::array<Policy, 6> policies{{
    {"http://opcfoundation.org/UA/SecurityPolicy#None", "None", 0, 0,
     Signature::None, "", Encryption::None, "", 0, 0,
     Digest::None, 0, 0, 0, 0},
    {"http://opcfoundation.org/UA/SecurityPolicy#Basic128Rsa15", "Basic128Rsa15", 1, 1,
     Signature::RsaPkcs15Sha1, rsaSha1, Encryption::RsaPkcs15, rsa15, 1024, 2048,
     Digest::Sha1, 20, 16, 16, 16},
    {"http://opcfoundation.org/UA/SecurityPolicy#Basic256", "Basic256", 2, 2,
     Signature::RsaPkcs15Sha1, rsaSha1, Encryption::RsaOaepSha1, rsaOaep, 1024, 2048,
     Digest::Sha1, 20, 24, 32, 32},
    {"http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256", "Basic256Sha256", 3, 3,
     Signature::RsaPkcs15Sha256, rsaSha256, Encryption::RsaOaepSha1, rsaOaep, 2048, 4096,
     Digest::Sha256, 32, 32, 32, 32},
    {"http://opcfoundation.org/UA/SecurityPolicy#Aes128_Sha256_RsaOaep", "Aes128_Sha256_RsaOaep", 4, 4,
     Signature::RsaPkcs15Sha256, rsaSha256, Encryption::RsaOaepSha1, rsaOaep, 2048, 4096,
     Digest::Sha256, 32, 32, 16, 32},
    {"http://opcfoundation.org/UA/SecurityPolicy#Aes256_Sha256_RsaPss", "Aes256_Sha256_RsaPss", 5, 5,
     Signature::RsaPssSha256, rsaPssSha256, Encryption::RsaOaepSha256, rsaOaepSha256, 2048, 4096,
     Digest::Sha256, 32, 32, 32, 32},
}};
// clang-format on

template <typename Condition>
const Policy* first(Condition condition) {
    const auto* const found = std::find_if(policies.begin(), policies.end(), condition);
    return found != policies.end() ? found : nullptr;
}

} // namespace

const UaPkiSecurityPolicy* UaPkiSecurityPolicy::find(const UaString& uri) {
    return first([&uri](const Policy& policy) { return uri.text() == policy.uri; });
}

const UaPkiSecurityPolicy* UaPkiSecurityPolicy::named(std::string_view name) {
    return first([name](const Policy& policy) { return name == policy.name; });
}

const UaPkiSecurityPolicy* UaPkiSecurityPolicy::numbered(int number) {
    return first([number](const Policy& policy) { return number == policy.number; });
}

const UaPkiSecurityPolicy& UaPkiSecurityPolicy::none() {
    return policies.front();
}
