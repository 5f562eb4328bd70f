#include "uapki/certificate_verifier.h"

#include <cstddef>
#include <utility>
#include <vector>

#include "certificate_parser.h"
#include "certificate_rules.h"
#include "uabase/trace.h"

namespace {

using Step = UaPkiVerificationStep;

constexpr int longestChainBytes = 256 * 1024;
constexpr std::size_t mostCertificates = 11;

bool readSentCertificates(const UaByteString& bytes, std::vector<pki::X509Ptr>& sent) {
    return bytes.length() <= longestChainBytes &&
           pki::parseCertificates(bytes.data(), bytes.data() + bytes.length(), sent) &&
           sent.size() <= mostCertificates;
}

void traceResult(const UaPkiVerification& result) {
    for (const UaString& file : result.skippedFiles) {
        UaTrace::write(UaTrace::Warnings, "pki", "certificate store: passed over %s", file.toUtf8());
    }
    for (const UaPkiFinding& finding : result.findings) {
        UaTrace::write(UaTrace::Warnings, "pki", "the server's certificate does not pass: %s",
                       finding.toString().toUtf8());
    }
}

} // namespace

UaPkiCertificateVerifier::UaPkiCertificateVerifier(UaPkiStore store) : m_store(std::move(store)) {}

UaPkiVerification UaPkiCertificateVerifier::verify(const UaByteString& chain, const UaString& applicationUri,
                                                   const UaString& securityPolicyUri,
                                                   const UaDateTime& now) const {
    pki::CertificateFindings findings;
    UaPkiVerification result;
    std::vector<pki::X509Ptr> sent;
    if (!readSentCertificates(chain, sent)) {
        const X509* leaf = sent.empty() ? nullptr : sent.front().get();
        findings.add(Step::Structure, OpcUa_BadCertificateInvalid, leaf,
                     "what the server sent is not a DER certificate, or a chain of at most eleven");
    } else {
        const UaPkiStoreLocations& locations = m_store.locations();
        pki::StoreContent content = pki::readStore(locations);
        pki::checkStructure(sent, findings);
        pki::ChainCheck check = pki::checkChain(sent, content, now.toUnixTime(), findings);
        if (!check.chain.empty()) {
            pki::checkPolicy(check.chain, securityPolicyUri, findings);
            pki::checkTrust(check.chain, content, locations, findings);
            pki::checkApplicationUri(check.chain.front().get(), applicationUri, findings);
            pki::checkUsage(check.chain, findings);
            pki::reportObjections(check, content, locations, findings);
        }
        result.skippedFiles = std::move(content.skippedFiles);
    }
    result.findings = findings.takeSorted();
    result.status = result.findings.empty() ? UaStatus() : result.findings.front().status;
    traceResult(result);
    return result;
}
