#pragma once

#include <vector>

#include "openssl_handles.h"
#include "uapki/certificate_verifier.h"

namespace pki {

/// Gathers the objections to a chain of certificates.
class CertificateFindings {
public:
    /// `certificate` may be null when none could be read.
    void add(UaPkiVerificationStep step, OpcUa_StatusCode status, const X509* certificate, UaString text,
             UaString location = {});

    bool empty() const { return m_findings.empty(); }
    /// Whether these come closer to none: the first of them is of a later step, or of the same and they are
    /// fewer.
    bool areBetterThan(const CertificateFindings& others) const;

    /// In the order of the steps. Findings of one step about one certificate are shown once.
    std::vector<UaPkiFinding> takeSorted();

private:
    std::vector<UaPkiFinding> m_findings;
};

} // namespace pki
