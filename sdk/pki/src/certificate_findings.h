#pragma once

#include <vector>

#include "openssl_handles.h"
#include "uapki/certificate_verifier.h"

namespace pki {

/// Gathers the objections to a chain of certificates.
class CertificateFindings {
public:
    /// `certificate` may be null when none could be read.
    void add(UaPkiVerificationStep step, OpcUa_StatusCode status, X509* certificate, UaString text,
             UaString location = {});

    bool empty() const { return m_entries.empty(); }
    /// Of two chains, the one to tell of: a complete one, then one that is within its time, then the one
    /// whose first objection is of the later step, then the one with fewer.
    bool areBetterThan(const CertificateFindings& others) const;

    /// In the order of the steps. Findings of one step about one certificate are shown once.
    std::vector<UaPkiFinding> takeSorted();

private:
    /// The certificate is named when all is known: there may be many chains, and names of any length.
    struct Entry {
        UaPkiFinding finding;
        X509Ptr certificate;
    };

    bool has(UaPkiVerificationStep step) const;

    std::vector<Entry> m_entries;
};

} // namespace pki
