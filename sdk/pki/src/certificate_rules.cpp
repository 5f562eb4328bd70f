#include "certificate_rules.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include "certificate_parser.h"
#include "distinguished_name.h"

namespace pki {
namespace {

using Step = UaPkiVerificationStep;

std::string keyProblem(const X509* certificate, bool isLeaf, const SecurityDemands& demands) {
    const EVP_PKEY* key = X509_get0_pubkey(certificate);
    if (key == nullptr)
        return "its public key cannot be read";
    if (EVP_PKEY_is_a(key, "RSA") != 1) {
        if (isLeaf)
            return "its key is not an RSA key";
        return EVP_PKEY_get_security_bits(key) < demands.fewestSecurityBits() ? "its key is too weak" : "";
    }
    const int bits = EVP_PKEY_get_bits(key);
    const std::string has = "its RSA key has " + std::to_string(bits) + " bits, the policy ";
    if (bits < demands.fewestRsaBits)
        return has + "demands " + std::to_string(demands.fewestRsaBits);
    if (isLeaf && bits > demands.mostRsaBits)
        return has + "allows " + std::to_string(demands.mostRsaBits);
    return {};
}

bool mayAuthenticateServers(X509* certificate) {
    return (X509_get_extension_flags(certificate) & EXFLAG_XKUSAGE) == 0 ||
           (X509_get_extended_key_usage(certificate) & (XKU_SSL_SERVER | XKU_ANYEKU)) != 0;
}

/// What the OPC UA profile asks of an application instance certificate (OPC UA Part 6, 6.2.2).
std::string leafUsageProblem(X509* leaf) {
    constexpr std::uint32_t neededUsage =
        KU_DIGITAL_SIGNATURE | KU_NON_REPUDIATION | KU_KEY_ENCIPHERMENT | KU_DATA_ENCIPHERMENT;
    const std::uint32_t flags = X509_get_extension_flags(leaf);
    if ((flags & EXFLAG_CA) != 0)
        return "it is a certificate authority's certificate, not an application's";
    if ((flags & EXFLAG_KUSAGE) == 0)
        return "it has no key usage";
    if ((X509_get_key_usage(leaf) & neededUsage) != neededUsage)
        return "its key usage lacks one of digital signature, non-repudiation, key and data encipherment";
    if (!mayAuthenticateServers(leaf))
        return "its extended key usage does not allow server authentication";
    return {};
}

std::string issuerUsageProblem(X509* issuer, long authoritiesBelow) {
    const long mostBelow = X509_get_pathlen(issuer); // -1 where nothing is said
    const std::uint32_t flags = X509_get_extension_flags(issuer);
    if ((flags & EXFLAG_CA) == 0)
        return "it has issued a certificate but is no certificate authority";
    if ((flags & EXFLAG_KUSAGE) != 0 && (X509_get_key_usage(issuer) & KU_KEY_CERT_SIGN) == 0)
        return "it has issued a certificate but its key usage does not allow it";
    // An authority for mail or for code has no say about servers, although the standards leave that open.
    if (!mayAuthenticateServers(issuer))
        return "it has issued a server's certificate but its extended key usage does not allow it";
    if (mostBelow >= 0 && authoritiesBelow > mostBelow)
        return "it has more authorities below it than it may have";
    return {};
}

bool isCritical(const X509* certificate, int nid) {
    const int index = X509_get_ext_by_NID(certificate, nid, -1);
    return index >= 0 && X509_EXTENSION_get_critical(X509_get_ext(certificate, index)) != 0;
}

/// The common name counts as a host name where no other is given (RFC 6125, 6.4.4).
bool isWithin(X509* certificate, bool isLeaf, NAME_CONSTRAINTS* bounds) {
    return NAME_CONSTRAINTS_check(certificate, bounds) == X509_V_OK &&
           (!isLeaf || !alternativeNames(certificate, GEN_DNS).empty() ||
            NAME_CONSTRAINTS_check_CN(certificate, bounds) == X509_V_OK);
}

} // namespace

void checkStructure(const std::vector<X509Ptr>& sent, CertificateFindings& findings) {
    const ErrorQueueGuard guard;
    for (const X509Ptr& certificate : sent) {
        if ((X509_get_extension_flags(certificate.get()) & EXFLAG_INVALID) != 0) {
            findings.add(Step::Structure, OpcUa_BadCertificateInvalid, certificate.get(),
                         "an extension of the certificate is malformed");
        }
    }
}

void checkExtensions(const Chain& chain, CertificateFindings& findings) {
    for (X509* certificate : chain.certificates) {
        // OpenSSL knows address blocks (RFC 3779), proxies, demands of policies and Netscape's types; nobody
        // checks them here.
        if ((X509_get_extension_flags(certificate) & (EXFLAG_CRITICAL | EXFLAG_PROXY)) != 0 ||
            isCritical(certificate, NID_sbgp_ipAddrBlock) ||
            isCritical(certificate, NID_sbgp_autonomousSysNum) ||
            isCritical(certificate, NID_policy_constraints) ||
            isCritical(certificate, NID_netscape_cert_type)) {
            findings.add(Step::Signature, OpcUa_BadCertificateInvalid, certificate,
                         "it has a critical extension that is not known here");
        }
    }
}

bool NameBounds::isOutside(X509* certificate, bool isLeaf, X509* authority) {
    const auto [known, isNew] = m_known.try_emplace({certificate, authority});
    if (isNew) {
        constexpr int hasNone = -1;
        int presence = hasNone;
        const NameConstraintsPtr bounds(static_cast<NAME_CONSTRAINTS*>(
            X509_get_ext_d2i(authority, NID_name_constraints, &presence, nullptr)));
        known->second =
            bounds != nullptr ? !isWithin(certificate, isLeaf, bounds.get()) : presence != hasNone;
    }
    return known->second;
}

void NameBounds::check(const Chain& chain, CertificateFindings& findings) {
    const auto& certificates = chain.certificates;
    for (std::size_t above = 1; above < certificates.size(); ++above) {
        for (std::size_t i = 0; i < above; ++i) {
            // An authority may certify its own new key under its own name (RFC 5280, 6.1.4).
            if ((i == 0 || !isSelfIssued(certificates[i])) &&
                isOutside(certificates[i], i == 0, certificates[above])) {
                findings.add(Step::Signature, OpcUa_BadCertificateInvalid, certificates[i],
                             "its names are not within the bounds of one of its issuers");
            }
        }
    }
}

void checkPolicy(const Chain& chain, const SecurityDemands& demands, CertificateFindings& findings) {
    for (std::size_t i = 0; i < chain.certificates.size(); ++i) {
        X509* certificate = chain.certificates[i];
        const bool isLeaf = i == 0;
        const bool isRoot = chain.end == Chain::End::Root && i + 1 == chain.certificates.size();
        std::string problem = keyProblem(certificate, isLeaf, demands);
        // Nothing hangs on a root's signature of itself.
        if ((isLeaf || !isRoot) && !demands.allowSignature(certificate)) {
            problem += problem.empty() ? "" : ", and ";
            problem += "its signature algorithm is too weak for the policy";
        }
        if (!problem.empty())
            findings.add(Step::SecurityPolicy, OpcUa_BadCertificatePolicyCheckFailed, certificate, problem);
    }
}

// X509_cmp_time answers 0 for what is no time.
void checkValidity(const Chain& chain, std::time_t now, CertificateFindings& findings) {
    for (std::size_t i = 0; i < chain.certificates.size(); ++i) {
        X509* certificate = chain.certificates[i];
        const int start = X509_cmp_time(X509_get0_notBefore(certificate), &now);
        const int end = X509_cmp_time(X509_get0_notAfter(certificate), &now);
        if (start == 0 || end == 0) {
            findings.add(Step::Signature, OpcUa_BadCertificateInvalid, certificate,
                         "its validity period is malformed");
        } else if (start > 0 || end < 0) {
            findings.add(Step::ValidityPeriod,
                         i == 0 ? OpcUa_BadCertificateTimeInvalid : OpcUa_BadCertificateIssuerTimeInvalid,
                         certificate, start > 0 ? "it is not yet valid" : "it has expired");
        }
    }
}

UaString applicationUriProblem(const X509* leaf, const UaString& expected) {
    const std::vector<std::string> uris = uriBytes(leaf);
    if (uris.empty())
        return "the certificate names no application URI";
    if (uris.front() == expected.text() && !expected.isEmpty())
        return {};
    return UaString("the certificate is for \"" + alternativeNames(leaf, GEN_URI).front().text() +
                    "\", the server says it is \"" + expected.text() + "\"");
}

void checkUsage(const Chain& chain, CertificateFindings& findings) {
    long authoritiesBelow = 0;
    for (std::size_t i = 0; i < chain.certificates.size(); ++i) {
        X509* certificate = chain.certificates[i];
        const std::string problem =
            i == 0 ? leafUsageProblem(certificate) : issuerUsageProblem(certificate, authoritiesBelow);
        if (!problem.empty()) {
            findings.add(Step::Usage,
                         i == 0 ? OpcUa_BadCertificateUseNotAllowed : OpcUa_BadCertificateIssuerUseNotAllowed,
                         certificate, problem);
        }
        authoritiesBelow += i > 0 && !isSelfIssued(certificate) ? 1 : 0;
    }
}

} // namespace pki
