#pragma once

#include <ctime>
#include <vector>

#include "certificate_findings.h"
#include "store_reader.h"

namespace pki {

/// Certificates from the server's own (index 0) up to the last issuer that was found.
using Chain = std::vector<X509Ptr>;

inline bool isSelfSigned(X509* certificate) {
    return X509_self_signed(certificate, 0) == 1;
}

/// One of OpenSSL's X509_V_ERR_ codes, and the index of the certificate that it is about.
struct Objection {
    int error;
    int depth;
};

struct ChainCheck {
    Chain chain;
    std::vector<Objection> objections;
};

/// Builds the chain of `sent.front()` from the store and from what the server sent along, and checks what
/// lies in the chain itself: completeness, signatures, validity, that issuers may issue, and revocation. Who
/// is trusted is not decided here. The chain is empty only when the check itself failed, which is then a
/// finding.
ChainCheck checkChain(const std::vector<X509Ptr>& sent, const StoreContent& store, std::time_t now,
                      CertificateFindings& findings);

/// Turns the objections into findings.
void reportObjections(const ChainCheck& check, const StoreContent& store,
                      const UaPkiStoreLocations& locations, CertificateFindings& findings);

/// Whether the very certificate (the same bytes) is among `certificates`.
bool contains(const std::vector<X509Ptr>& certificates, const X509* certificate);

} // namespace pki
