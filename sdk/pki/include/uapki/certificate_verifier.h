#pragma once

#include <vector>

#include "uabase/byte_string.h"
#include "uabase/date_time.h"
#include "uabase/status.h"
#include "uabase/string.h"
#include "uapki/store.h"
#include "uastack/export.h"

/// The steps of OPC UA Part 4, 6.1.3, in their order. The host name is not among them: plants rename and
/// renumber their servers, and the application URI tells which one it is.
enum class UaPkiVerificationStep {
    Structure,
    Chain,
    Signature,
    SecurityPolicy,
    TrustList,
    ValidityPeriod,
    ApplicationUri,
    Usage,
    FindRevocationList,
    Revocation
};

/// One objection to a certificate.
struct UASDK_EXPORT UaPkiFinding {
    UaPkiVerificationStep step = UaPkiVerificationStep::Structure;
    UaStatus status;
    /// What is wrong.
    UaString text;
    /// The certificate that the objection is about (the server's own, or one of its issuers).
    UaString subject;
    /// Its thumbprint, as UaByteArray::toHex(false) writes it.
    UaString thumbprint;
    /// The directory in which to look, or empty.
    UaString location;

    /// All of it in one line.
    UaString toString() const;
};

/// What verification found.
struct UASDK_EXPORT UaPkiVerification {
    /// Good, or the status of the first finding.
    UaStatus status;
    /// In the order of the steps. All of them, so that an operator can put everything right at once.
    std::vector<UaPkiFinding> findings;
    /// Files of the store that were passed over, each with the reason.
    std::vector<UaString> skippedFiles;
};

/// Verifies a server's certificate against a store as OPC UA Part 4, 6.1.3 demands it. The store is read anew
/// each time, so a file that was added or removed counts at once.
class UASDK_EXPORT UaPkiCertificateVerifier {
public:
    explicit UaPkiCertificateVerifier(UaPkiStore store);

    /// @param chain               the server's certificate (DER), possibly followed by its issuers
    /// @param applicationUri      what the server's description announces; compared exactly
    /// @param securityPolicyUri   decides which keys and signatures are good enough; an unknown policy
    /// demands the most
    /// @param now                 the time at which the certificates must hold
    /// Findings and passed-over files also go to the trace.
    UaPkiVerification verify(const UaByteString& chain, const UaString& applicationUri,
                             const UaString& securityPolicyUri, const UaDateTime& now) const;

private:
    UaPkiStore m_store;
};
