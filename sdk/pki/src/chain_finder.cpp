#include "chain_finder.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "certificate_parser.h"

namespace pki {
namespace {

// Ten authorities between a server and its root are more than anybody has; the other two bound what whoever
// fills a store, or sends a chain, can make us calculate.
constexpr std::size_t longestChain = 12;
constexpr std::size_t mostSignatureChecks = 500;
constexpr std::size_t mostChains = 1000;

bool isMalformed(X509* certificate) {
    return (X509_get_extension_flags(certificate) & EXFLAG_INVALID) != 0;
}

/// Whether `issuer` has the key identifier that the certificate names; also true when it names none.
bool hasNamedKey(const X509* issuer, const X509* certificate) {
    const AuthorityKeyIdPtr identifier(static_cast<AUTHORITY_KEYID*>(
        X509_get_ext_d2i(certificate, NID_authority_key_identifier, nullptr, nullptr)));
    return X509_check_akid(issuer, identifier.get()) == X509_V_OK;
}

} // namespace

bool isSelfIssued(const X509* certificate) {
    return X509_NAME_cmp(X509_get_subject_name(certificate), X509_get_issuer_name(certificate)) == 0;
}

ChainFinder::ChainFinder(const std::vector<X509Ptr>& sent, const StoreContent& store)
    : m_leaf(sent.front().get()), m_open{{m_leaf}} {
    const ErrorQueueGuard guard;
    std::set<Bytes> known{encode(m_leaf)};
    // Where too many are known, those that are trusted are tried first.
    add(store.trusted, known);
    add(store.issuers, known);
    add(sent, known);
}

/// In the order of their bytes, and each of them once.
void ChainFinder::add(const std::vector<X509Ptr>& certificates, std::set<Bytes>& known) {
    std::map<Bytes, X509*> added;
    for (const X509Ptr& certificate : certificates) {
        Bytes bytes = encode(certificate.get());
        if (!isMalformed(certificate.get()) && known.insert(bytes).second)
            added.emplace(std::move(bytes), certificate.get());
    }
    for (const auto& [bytes, certificate] : added)
        m_known.push_back(certificate);
}

bool ChainFinder::hasSigned(X509* issuer, X509* certificate) {
    if (m_signatureChecks == mostSignatureChecks) {
        m_hasGivenUp = true;
        return false;
    }
    ++m_signatureChecks;
    EVP_PKEY* key = X509_get0_pubkey(issuer);
    return key != nullptr && X509_verify(certificate, key) == 1;
}

ChainFinder::Issuers ChainFinder::findIssuers(X509* certificate) {
    Issuers issuers;
    const X509_NAME* name = X509_get_issuer_name(certificate);
    if (isSelfIssued(certificate) && hasSigned(certificate, certificate)) {
        issuers.isSelfSigned = true;
        return issuers;
    }
    issuers.isForged = isSelfIssued(certificate) && hasNamedKey(certificate, certificate);
    // Where too many bear the name, those that the certificate means are tried first.
    for (const bool isNamed : {true, false}) {
        for (X509* other : m_known) {
            if (other == certificate || X509_NAME_cmp(X509_get_subject_name(other), name) != 0 ||
                hasNamedKey(other, certificate) != isNamed) {
                continue;
            }
            if (hasSigned(other, certificate))
                issuers.signers.push_back(other);
            else
                issuers.isForged = issuers.isForged || isNamed;
        }
    }
    return issuers;
}

const ChainFinder::Issuers& ChainFinder::issuersOf(X509* certificate) {
    auto found = m_issuers.find(certificate);
    if (found == m_issuers.end())
        found = m_issuers.emplace(certificate, findIssuers(certificate)).first;
    return found->second;
}

/// False when nobody can be added.
bool ChainFinder::extend(const Certificates& chain, const Certificates& signers) {
    bool extended = false;
    for (X509* signer : signers) {
        if (std::find(chain.begin(), chain.end(), signer) != chain.end())
            continue;
        extended = true;
        if (m_chains == mostChains) {
            m_hasGivenUp = true;
            return true;
        }
        ++m_chains;
        m_open.push_back(chain);
        m_open.back().push_back(signer);
    }
    return extended;
}

std::optional<Chain> ChainFinder::next() {
    const ErrorQueueGuard guard;
    while (!m_open.empty()) {
        Certificates chain = std::move(m_open.front());
        m_open.pop_front();
        const Issuers& issuers = issuersOf(chain.back());
        if (issuers.isSelfSigned)
            return Chain{std::move(chain), Chain::End::Root};
        if (issuers.signers.empty()) {
            return Chain{std::move(chain), m_hasGivenUp       ? Chain::End::GivenUp
                                           : issuers.isForged ? Chain::End::WrongSignature
                                                              : Chain::End::IssuerMissing};
        }
        if (chain.size() == longestChain)
            return Chain{std::move(chain), Chain::End::TooLong};
        if (!extend(chain, issuers.signers))
            return Chain{std::move(chain), Chain::End::IssuerMissing};
    }
    if (std::exchange(m_hasGivenUp, false))
        return Chain{{m_leaf}, Chain::End::GivenUp};
    return std::nullopt;
}

} // namespace pki
