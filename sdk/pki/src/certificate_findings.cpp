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
namespace {

bool isSame(const X509* one, const X509* other) {
    return one == other || (one != nullptr && other != nullptr && X509_cmp(one, other) == 0);
}

} // namespace

void CertificateFindings::add(UaPkiVerificationStep step, OpcUa_StatusCode status, X509* certificate,
                              UaString text, UaString location) {
    const bool known = std::any_of(m_entries.begin(), m_entries.end(), [&](const Entry& other) {
        return other.finding.step == step && isSame(other.certificate.get(), certificate);
    });
    if (known)
        return;
    Entry entry;
    entry.finding.step = step;
    entry.finding.status = status;
    entry.finding.text = std::move(text);
    entry.finding.location = std::move(location);
    if (certificate != nullptr && X509_up_ref(certificate) == 1)
        entry.certificate.reset(certificate);
    const auto place = std::upper_bound(
        m_entries.begin(), m_entries.end(), step,
        [](UaPkiVerificationStep added, const Entry& other) { return added < other.finding.step; });
    m_entries.insert(place, std::move(entry));
}

bool CertificateFindings::has(Step step) const {
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [step](const Entry& entry) { return entry.finding.step == step; });
}

bool CertificateFindings::areBetterThan(const CertificateFindings& others) const {
    const auto rank = [](const CertificateFindings& findings) {
        const bool isSound =
            !findings.has(Step::Structure) && !findings.has(Step::Chain) && !findings.has(Step::Signature);
        const int firstStep = findings.empty() ? std::numeric_limits<int>::max()
                                               : static_cast<int>(findings.m_entries.front().finding.step);
        return std::make_tuple(isSound, !findings.has(Step::ValidityPeriod), firstStep,
                               std::numeric_limits<std::size_t>::max() - findings.m_entries.size());
    };
    return rank(*this) > rank(others);
}

std::vector<UaPkiFinding> CertificateFindings::takeSorted() {
    std::vector<UaPkiFinding> findings;
    for (Entry& entry : std::exchange(m_entries, {})) {
        if (entry.certificate != nullptr) {
            entry.finding.subject = nameText(X509_get_subject_name(entry.certificate.get()));
            entry.finding.thumbprint = thumbprint(entry.certificate.get()).toHex(false);
        }
        findings.push_back(std::move(entry.finding));
    }
    return findings;
}

} // namespace pki
