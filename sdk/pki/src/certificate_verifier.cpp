#include "uapki/certificate_verifier.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "certificate_parser.h"
#include "certificate_rules.h"
#include "chain_check.h"
#include "chain_finder.h"
#include "openssl_use.h"
#include "uabase/trace.h"

namespace {

using Step = UaPkiVerificationStep;

constexpr std::size_t mostCertificates = 11;
constexpr const char* notCarriedOut = "the verification could not be carried out";

bool readSentCertificates(const UaByteString& bytes, std::vector<pki::X509Ptr>& sent) {
    return pki::parseCertificates(bytes.data(), bytes.data() + bytes.length(), sent) &&
           sent.size() <= mostCertificates;
}

void traceResult(const UaPkiVerification& result) {
    for (const UaString& file : result.skippedFiles)
        UaTrace::write(UaTrace::Warnings, "pki", "certificate store: passed over %s", file.toUtf8());
    for (const UaPkiFinding& finding : result.findings) {
        UaTrace::write(UaTrace::Warnings, "pki", "the server's certificate does not pass: %s",
                       finding.toString().toUtf8());
    }
}

/// Of the chain that is the best one. Any that passes will do.
pki::CertificateFindings checkChains(const std::vector<pki::X509Ptr>& sent, const pki::StoreContent& content,
                                     pki::ChainCheck& check) {
    pki::ChainFinder finder(sent, content);
    std::optional<pki::CertificateFindings> best;
    while (!best.has_value() || !best->empty()) {
        const std::optional<pki::Chain> chain = finder.next();
        if (!chain.has_value())
            break;
        pki::CertificateFindings findings;
        pki::checkStructure(sent, findings);
        check.check(*chain, findings);
        if (!best.has_value() || findings.areBetterThan(*best))
            best = std::move(findings);
    }
    if (!best.has_value())
        best.emplace().add(Step::Chain, OpcUa_BadSecurityChecksFailed, sent.front().get(), notCarriedOut);
    return std::move(*best);
}

} // namespace

UaPkiCertificateVerifier::UaPkiCertificateVerifier(UaPkiStore store) : m_store(std::move(store)) {}

UaPkiVerification UaPkiCertificateVerifier::verify(const UaByteString& chain, const UaString& applicationUri,
                                                   const UaString& securityPolicyUri,
                                                   const UaDateTime& now) const {
    const pki::OpenSslUse use;
    pki::CertificateFindings findings;
    UaPkiVerification result;
    std::vector<pki::X509Ptr> sent;
    if (!use.isPossible()) {
        findings.add(Step::Chain, OpcUa_BadSecurityChecksFailed, nullptr, notCarriedOut);
    } else if (!readSentCertificates(chain, sent)) {
        X509* leaf = sent.empty() ? nullptr : sent.front().get();
        findings.add(Step::Structure, OpcUa_BadCertificateInvalid, leaf,
                     "what the server sent is not a DER certificate, or a chain of at most eleven");
    } else {
        pki::StoreContent content = pki::readStore(m_store.locations());
        const pki::ChainDemands demands{applicationUri, pki::SecurityDemands::of(securityPolicyUri),
                                        now.toUnixTime()};
        pki::ChainCheck check(content, m_store.locations(), demands);
        findings = checkChains(sent, content, check);
        result.skippedFiles = std::move(content.skippedFiles);
    }
    result.findings = findings.takeSorted();
    result.status = result.findings.empty() ? UaStatus() : result.findings.front().status;
    traceResult(result);
    return result;
}
