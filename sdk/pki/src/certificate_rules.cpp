#include "certificate_rules.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "certificate_parser.h"
#include "distinguished_name.h"
#include "uapki/security_policy.h"

namespace pki {
namespace {

using Step = UaPkiVerificationStep;

constexpr int sufficientSignatureBits = 112; // SHA-2 and better; SHA-1 has 63, MD5 fewer

bool signatureIsGoodEnough(X509* certificate, const PolicyRules& rules) {
    int digest = NID_undef;
    int securityBits = 0;
    if (X509_get_signature_info(certificate, &digest, nullptr, &securityBits, nullptr) != 1) {
        return false;
    }
    return securityBits >= sufficientSignatureBits || (rules.sha1Allowed && digest == NID_sha1);
}

std::string keyProblem(const X509* certificate, bool isLeaf, const PolicyRules& rules) {
    const EVP_PKEY* key = X509_get0_pubkey(certificate);
    if (key == nullptr) {
        return "its public key cannot be read";
    }
    if (EVP_PKEY_is_a(key, "RSA") != 1) {
        return isLeaf ? "its key is not an RSA key" : "";
    }
    const int bits = EVP_PKEY_get_bits(key);
    const std::string has = "its RSA key has " + std::to_string(bits) + " bits, the policy ";
    if (bits < rules.fewestRsaBits) {
        return has + "demands " + std::to_string(rules.fewestRsaBits);
    }
    if (isLeaf && bits > rules.mostRsaBits) {
        return has + "allows " + std::to_string(rules.mostRsaBits);
    }
    return {};
}

/// What the OPC UA profile asks of an application instance certificate (OPC UA Part 6, 6.2.2).
std::string leafUsageProblem(X509* leaf) {
    constexpr std::uint32_t neededUsage =
        KU_DIGITAL_SIGNATURE | KU_NON_REPUDIATION | KU_KEY_ENCIPHERMENT | KU_DATA_ENCIPHERMENT;
    std::uint32_t flags = X509_get_extension_flags(leaf);
    if ((flags & EXFLAG_CA) != 0) {
        return "it is a certificate authority's certificate, not an application's";
    }
    if ((flags & EXFLAG_KUSAGE) == 0) {
        return "it has no key usage";
    }
    if ((X509_get_key_usage(leaf) & neededUsage) != neededUsage) {
        return "its key usage lacks one of digital signature, non-repudiation, key and data encipherment";
    }
    if ((flags & EXFLAG_XKUSAGE) != 0 &&
        (X509_get_extended_key_usage(leaf) & (XKU_SSL_SERVER | XKU_ANYEKU)) == 0) {
        return "its extended key usage does not allow server authentication";
    }
    return {};
}

std::string issuerUsageProblem(X509* issuer) {
    std::uint32_t flags = X509_get_extension_flags(issuer);
    if ((flags & EXFLAG_CA) == 0) {
        return "it has issued a certificate but is no certificate authority";
    }
    if ((flags & EXFLAG_KUSAGE) != 0 && (X509_get_key_usage(issuer) & KU_KEY_CERT_SIGN) == 0) {
        return "it has issued a certificate but its key usage does not allow it";
    }
    return {};
}

} // namespace

PolicyRules rulesOfPolicy(const UaString& securityPolicyUri) {
    const UaPkiSecurityPolicy* policy = UaPkiSecurityPolicy::find(securityPolicyUri);
    if (policy == nullptr) {
        return {2048, 4096, false};
    }
    // Without a policy for the channel it is the token policy, not known yet, that a key must suit.
    if (policy->isNone()) {
        return {1024, std::numeric_limits<int>::max(), true};
    }
    return {policy->minimumKeyBits, policy->maximumKeyBits,
            policy->asymmetricSignature == UaPkiSecurityPolicy::Signature::RsaPkcs15Sha1};
}

void checkStructure(const std::vector<X509Ptr>& sent, CertificateFindings& findings) {
    ErrorQueueGuard guard;
    for (const X509Ptr& certificate : sent) {
        if ((X509_get_extension_flags(certificate.get()) & EXFLAG_INVALID) != 0) {
            findings.add(Step::Structure, OpcUa_BadCertificateInvalid, certificate.get(),
                         "an extension of the certificate is malformed");
        }
    }
}

void checkPolicy(const Chain& chain, const UaString& securityPolicyUri, CertificateFindings& findings) {
    ErrorQueueGuard guard;
    PolicyRules rules = rulesOfPolicy(securityPolicyUri);
    for (std::size_t i = 0; i < chain.size(); ++i) {
        X509* certificate = chain[i].get();
        bool leaf = i == 0;
        std::string problem = keyProblem(certificate, leaf, rules);
        // Nothing hangs on a root's signature of itself.
        if ((leaf || !isSelfSigned(certificate)) && !signatureIsGoodEnough(certificate, rules)) {
            problem += problem.empty() ? "" : ", and ";
            problem += "its signature algorithm is too weak for the policy";
        }
        if (!problem.empty()) {
            findings.add(Step::SecurityPolicy, OpcUa_BadCertificatePolicyCheckFailed, certificate, problem);
        }
    }
}

void checkTrust(const Chain& chain, const StoreContent& store, const UaPkiStoreLocations& locations,
                CertificateFindings& findings) {
    for (const X509Ptr& certificate : chain) {
        if (contains(store.trusted, certificate.get())) {
            return;
        }
    }
    findings.add(Step::TrustList, OpcUa_BadCertificateUntrusted, chain.front().get(),
                 "neither the certificate nor one of its issuers is in the trust list",
                 locations.trustedCertificates);
}

void checkApplicationUri(const X509* leaf, const UaString& expected, CertificateFindings& findings) {
    std::vector<UaString> uris = alternativeNames(leaf, GEN_URI);
    if (uris.empty()) {
        findings.add(Step::ApplicationUri, OpcUa_BadCertificateUriInvalid, leaf,
                     "the certificate names no application URI");
    } else if (uris.front() != expected || expected.isEmpty()) {
        findings.add(Step::ApplicationUri, OpcUa_BadCertificateUriInvalid, leaf,
                     UaString("the certificate is for \"" + uris.front().text() +
                              "\", the server says it is \"" + expected.text() + "\""));
    }
}

void checkUsage(const Chain& chain, CertificateFindings& findings) {
    for (std::size_t i = 0; i < chain.size(); ++i) {
        X509* certificate = chain[i].get();
        std::string problem = i == 0 ? leafUsageProblem(certificate) : issuerUsageProblem(certificate);
        if (!problem.empty()) {
            findings.add(Step::Usage,
                         i == 0 ? OpcUa_BadCertificateUseNotAllowed : OpcUa_BadCertificateIssuerUseNotAllowed,
                         certificate, problem);
        }
    }
}

} // namespace pki
