#include "certificate_findings.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "certificate_parser.h"
#include "distinguished_name.h"

namespace {

using Step = UaPkiVerificationStep;

const char* stepName(UaPkiVerificationStep step) {
    switch (step) {
    case UaPkiVerificationStep::Structure:
        return "certificate structure";
    case UaPkiVerificationStep::Chain:
        return "certificate chain";
    case UaPkiVerificationStep::Signature:
        return "signature";
    case UaPkiVerificationStep::SecurityPolicy:
        return "security policy";
    case UaPkiVerificationStep::TrustList:
        return "trust list";
    case UaPkiVerificationStep::ValidityPeriod:
        return "validity period";
    case UaPkiVerificationStep::ApplicationUri:
        return "application URI";
    case UaPkiVerificationStep::Usage:
        return "certificate usage";
    case UaPkiVerificationStep::FindRevocationList:
        return "find revocation list";
    case UaPkiVerificationStep::Revocation:
        return "revocation";
    }
    return "";
}

} // namespace

UaString UaPkiFinding::toString() const {
    std::string line = std::string(stepName(step)) + ": " + text.text();
    if (!thumbprint.isEmpty())
        line += "; certificate \"" + subject.text() + "\", thumbprint " + thumbprint.text();
    if (!location.isEmpty())
        line += "; look at " + location.text();
    return UaString(line + " (" + status.name() + ")");
}

namespace pki {

void CertificateFindings::add(UaPkiVerificationStep step, OpcUa_StatusCode status, const X509* certificate,
                              UaString text, UaString location) {
    UaPkiFinding finding;
    finding.step = step;
    finding.status = status;
    finding.text = std::move(text);
    finding.location = std::move(location);
    if (certificate != nullptr) {
        finding.subject = nameText(X509_get_subject_name(certificate));
        finding.thumbprint = thumbprint(certificate).toHex(false);
    }
    const bool known =
        std::any_of(m_findings.begin(), m_findings.end(), [&finding](const UaPkiFinding& other) {
            return other.step == finding.step && other.thumbprint == finding.thumbprint;
        });
    if (!known) {
        const auto place = std::upper_bound(
            m_findings.begin(), m_findings.end(), finding.step,
            [](UaPkiVerificationStep added, const UaPkiFinding& other) { return added < other.step; });
        m_findings.insert(place, std::move(finding));
    }
}

bool CertificateFindings::has(Step step) const {
    return std::any_of(m_findings.begin(), m_findings.end(),
                       [step](const UaPkiFinding& finding) { return finding.step == step; });
}

bool CertificateFindings::areBetterThan(const CertificateFindings& others) const {
    const auto rank = [](const CertificateFindings& findings) {
        const bool isSound =
            !findings.has(Step::Structure) && !findings.has(Step::Chain) && !findings.has(Step::Signature);
        const int firstStep = findings.empty() ? std::numeric_limits<int>::max()
                                               : static_cast<int>(findings.m_findings.front().step);
        return std::make_tuple(isSound, !findings.has(Step::ValidityPeriod), firstStep,
                               std::numeric_limits<std::size_t>::max() - findings.m_findings.size());
    };
    return rank(*this) > rank(others);
}

std::vector<UaPkiFinding> CertificateFindings::takeSorted() {
    return std::move(m_findings);
}

} // namespace pki
