#include "chain_check.h"

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <memory>
#include <openssl/x509_vfy.h>
#include <utility>
#include <vector>

#include "certificate_parser.h"

namespace pki {
namespace {

using Step = UaPkiVerificationStep;

constexpr int mostIssuers = 10;

/// Lets OpenSSL go on after every objection, so that all of them are known.
int collectObjection(int ok, X509_STORE_CTX* context) {
    if (ok == 0) {
        auto* objections = static_cast<std::vector<Objection>*>(X509_STORE_CTX_get_app_data(context));
        objections->push_back({X509_STORE_CTX_get_error(context), X509_STORE_CTX_get_error_depth(context)});
    }
    return 1;
}

/// How an objection to the server's certificate, and one to an issuer, are called.
struct Meaning {
    Step step;
    OpcUa_StatusCode leafStatus;
    OpcUa_StatusCode issuerStatus;
};

Meaning meaningOf(int error) {
    switch (error) {
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
    case X509_V_ERR_CERT_CHAIN_TOO_LONG:
        return {Step::Chain, OpcUa_BadCertificateChainIncomplete, OpcUa_BadCertificateChainIncomplete};
    case X509_V_ERR_CERT_NOT_YET_VALID:
    case X509_V_ERR_CERT_HAS_EXPIRED:
        return {Step::ValidityPeriod, OpcUa_BadCertificateTimeInvalid, OpcUa_BadCertificateIssuerTimeInvalid};
    case X509_V_ERR_INVALID_CA:
    case X509_V_ERR_PATH_LENGTH_EXCEEDED:
    case X509_V_ERR_KEYUSAGE_NO_CERTSIGN:
        return {Step::Usage, OpcUa_BadCertificateUseNotAllowed, OpcUa_BadCertificateIssuerUseNotAllowed};
    case X509_V_ERR_UNABLE_TO_GET_CRL:
    case X509_V_ERR_UNABLE_TO_GET_CRL_ISSUER:
    case X509_V_ERR_UNABLE_TO_DECRYPT_CRL_SIGNATURE:
    case X509_V_ERR_CRL_SIGNATURE_FAILURE:
    case X509_V_ERR_CRL_NOT_YET_VALID:
    case X509_V_ERR_CRL_HAS_EXPIRED:
    case X509_V_ERR_ERROR_IN_CRL_LAST_UPDATE_FIELD:
    case X509_V_ERR_ERROR_IN_CRL_NEXT_UPDATE_FIELD:
    case X509_V_ERR_KEYUSAGE_NO_CRL_SIGN:
    case X509_V_ERR_UNHANDLED_CRITICAL_CRL_EXTENSION:
    case X509_V_ERR_DIFFERENT_CRL_SCOPE:
    case X509_V_ERR_CRL_PATH_VALIDATION_ERROR:
        return {Step::FindRevocationList, OpcUa_BadCertificateRevocationUnknown,
                OpcUa_BadCertificateIssuerRevocationUnknown};
    case X509_V_ERR_CERT_REVOKED:
        return {Step::Revocation, OpcUa_BadCertificateRevoked, OpcUa_BadCertificateIssuerRevoked};
    default:
        // Whatever else OpenSSL objects to (signatures, malformed times, unknown critical extensions, names
        // outside an authority's bounds) makes the certificate worthless.
        return {Step::Signature, OpcUa_BadCertificateInvalid, OpcUa_BadCertificateInvalid};
    }
}

class ChainReport {
public:
    ChainReport(const Chain& chain, const StoreContent& store, const UaPkiStoreLocations& locations)
        : m_chain(chain), m_store(store), m_locations(locations) {}

    void add(const Objection& objection, CertificateFindings& findings) const {
        if (isNoObjection(objection)) {
            return;
        }
        Meaning meaning = meaningOf(objection.error);
        auto index = std::min(static_cast<std::size_t>(std::max(objection.depth, 0)), m_chain.size() - 1);
        findings.add(meaning.step, index == 0 ? meaning.leafStatus : meaning.issuerStatus,
                     m_chain[index].get(), X509_verify_cert_error_string(objection.error),
                     location(meaning.step, index));
    }

private:
    bool isNoObjection(const Objection& objection) const {
        switch (objection.error) {
        case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
        case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
            return true; // the trust list decides
        case X509_V_ERR_UNABLE_TO_GET_CRL:
            // A root cannot vouch for itself; and a missing issuer, reported as such, has no list either.
            return static_cast<std::size_t>(objection.depth) + 1 >= m_chain.size();
        default:
            return false;
        }
    }

    UaString location(Step step, std::size_t index) const {
        if (step == Step::Chain) {
            return m_locations.issuerCertificates;
        }
        if (step == Step::FindRevocationList || step == Step::Revocation) {
            std::size_t issuer = std::min(index + 1, m_chain.size() - 1);
            return contains(m_store.trusted, m_chain[issuer].get()) ? m_locations.trustedRevocationLists
                                                                    : m_locations.issuerRevocationLists;
        }
        return {};
    }

    const Chain& m_chain;
    const StoreContent& m_store;
    const UaPkiStoreLocations& m_locations;
};

X509StorePtr makeStore(const StoreContent& content) {
    X509StorePtr store(X509_STORE_new());
    bool filled = store != nullptr;
    for (const auto* certificates : {&content.trusted, &content.issuers}) {
        for (const X509Ptr& certificate : *certificates) {
            filled = filled && X509_STORE_add_cert(store.get(), certificate.get()) == 1;
        }
    }
    for (const X509CrlPtr& list : content.revocationLists) {
        filled = filled && X509_STORE_add_crl(store.get(), list.get()) == 1;
    }
    return filled ? std::move(store) : nullptr;
}

using CertificateStack = std::unique_ptr<STACK_OF(X509), void (*)(STACK_OF(X509)*)>;

/// What the server sent along, borrowed; it may complete the chain and is not trusted.
CertificateStack borrowIssuers(const std::vector<X509Ptr>& sent) {
    CertificateStack stack(sk_X509_new_null(), [](STACK_OF(X509) * borrowed) { sk_X509_free(borrowed); });
    for (std::size_t i = 1; stack != nullptr && i < sent.size(); ++i) {
        if (sk_X509_push(stack.get(), sent[i].get()) == 0) {
            stack.reset();
        }
    }
    return stack;
}

void setRules(X509_STORE_CTX* context, std::time_t now) {
    X509_VERIFY_PARAM* rules = X509_STORE_CTX_get0_param(context);
    X509_VERIFY_PARAM_set_flags(rules, X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL |
                                           X509_V_FLAG_CHECK_SS_SIGNATURE);
    X509_VERIFY_PARAM_set_time(rules, now);
    X509_VERIFY_PARAM_set_depth(rules, mostIssuers);
    X509_VERIFY_PARAM_set_auth_level(rules,
                                     0); // the security policy says which keys and signatures are good enough
}

Chain takeChain(X509_STORE_CTX* context) {
    Chain chain;
    STACK_OF(X509)* built = X509_STORE_CTX_get0_chain(context);
    for (int i = 0; i < sk_X509_num(built); ++i) {
        X509* certificate = sk_X509_value(built, i);
        X509_up_ref(certificate);
        chain.emplace_back(certificate);
    }
    return chain;
}

} // namespace

ChainCheck checkChain(const std::vector<X509Ptr>& sent, const StoreContent& store, std::time_t now,
                      CertificateFindings& findings) {
    ErrorQueueGuard guard;
    X509* leaf = sent.front().get();
    X509StorePtr known = makeStore(store);
    CertificateStack issuers = borrowIssuers(sent);
    X509StoreContextPtr context(X509_STORE_CTX_new());
    ChainCheck check;
    if (known != nullptr && issuers != nullptr && context != nullptr &&
        X509_STORE_CTX_init(context.get(), known.get(), leaf, issuers.get()) == 1) {
        setRules(context.get(), now);
        X509_STORE_CTX_set_app_data(context.get(), &check.objections);
        X509_STORE_CTX_set_verify_cb(context.get(), collectObjection);
        if (X509_verify_cert(context.get()) == 1) {
            check.chain = takeChain(context.get());
        }
    }
    if (check.chain.empty()) {
        findings.add(Step::Chain, OpcUa_BadSecurityChecksFailed, leaf,
                     "the verification could not be carried out");
    }
    return check;
}

void reportObjections(const ChainCheck& check, const StoreContent& store,
                      const UaPkiStoreLocations& locations, CertificateFindings& findings) {
    ChainReport report(check.chain, store, locations);
    for (const Objection& objection : check.objections) {
        report.add(objection, findings);
    }
}

bool contains(const std::vector<X509Ptr>& certificates, const X509* certificate) {
    Bytes wanted = encode(certificate);
    return std::any_of(certificates.begin(), certificates.end(),
                       [&wanted](const X509Ptr& candidate) { return encode(candidate.get()) == wanted; });
}

} // namespace pki
