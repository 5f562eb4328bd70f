#include "revocation_check.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <utility>
#include <vector>

namespace pki {
namespace {

using Lists = std::vector<const RevocationList*>;

Bytes publicKeyOf(X509* certificate) {
    unsigned char* bytes = nullptr;
    const int length = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(certificate), &bytes);
    const Bytes key(bytes, bytes + std::max(length, 0));
    OPENSSL_free(bytes);
    return key;
}

bool maySignLists(X509* issuer) {
    return (X509_get_key_usage(issuer) & KU_CRL_SIGN) != 0;
}

} // namespace

RevocationCheck::RevocationCheck(const StoreContent& store, const SecurityDemands& demands, std::time_t now)
    : m_store(store), m_demands(demands), m_now(now) {
    const ErrorQueueGuard guard;
    m_lists.reserve(store.revocationLists.size());
    for (const X509CrlPtr& list : store.revocationLists)
        m_lists.emplace_back(list.get());
}

const RevocationState& RevocationCheck::of(X509* certificate, X509* issuer) {
    const ErrorQueueGuard guard;
    const auto pair = std::make_pair(certificate, issuer);
    auto known = m_known.find(pair);
    if (known == m_known.end())
        known = m_known.emplace(pair, find(certificate, issuer)).first;
    return known->second;
}

/// Its signature is checked once for each key: a list may have many megabytes.
bool RevocationCheck::isSigned(const RevocationList& list, X509* issuer) {
    const auto pair = std::make_pair(&list, publicKeyOf(issuer));
    const auto known = m_signatures.find(pair);
    if (known != m_signatures.end())
        return known->second;
    EVP_PKEY* key = X509_get0_pubkey(issuer);
    return m_signatures.emplace(pair, key != nullptr && list.isSignedWith(key)).first->second;
}

/// Whether another authority of the name, one that the store has, has signed it.
bool RevocationCheck::isOfNamesake(const RevocationList& list) {
    constexpr int mostNamesakes = 16; // each costs a look at the whole list
    int tried = 0;
    for (const auto* certificates : {&m_store.trusted, &m_store.issuers}) {
        for (const X509Ptr& certificate : *certificates) {
            if (X509_NAME_cmp(X509_get_subject_name(certificate.get()), list.issuer()) == 0 &&
                tried++ < mostNamesakes && isSigned(list, certificate.get())) {
                return true;
            }
        }
    }
    return false;
}

RevocationCheck::Candidates RevocationCheck::candidatesFor(X509* certificate, X509* issuer) {
    Candidates found;
    found.problem = "there is no revocation list of its issuer";
    for (const RevocationList& list : m_lists) {
        if (X509_NAME_cmp(list.issuer(), X509_get_subject_name(issuer)) != 0)
            continue;
        if (list.coverageOf(certificate) == Coverage::None) {
            found.problem = "its issuer's revocation list is for other certificates";
        } else if (!isSigned(list, issuer)) {
            found.problem = "its issuer has not signed the revocation list of that name";
            if (list.namesKeyOf(issuer) && !isOfNamesake(list))
                found.damagedOnes.push_back(&list);
        } else if (!maySignLists(issuer)) {
            found.problem = "its issuer's key usage does not allow to sign revocation lists";
        } else {
            found.signedOnes.push_back(&list);
        }
    }
    return found;
}

const char* RevocationCheck::problemOf(const RevocationList& list, X509* certificate) const {
    if (list.coverageOf(certificate) != Coverage::Whole)
        return "its issuer's revocation list is for some reasons of revocation only, or an indirect one";
    if (!m_demands.allowDigest(list.signatureDigest()))
        return "the signature algorithm of its issuer's revocation list is too weak for the policy";
    if (!list.isUnderstood())
        return "something in its issuer's revocation list is malformed, or critical and unknown";
    return nullptr;
}

/// The newest full list that a delta continues.
const RevocationList* RevocationCheck::baseOf(const RevocationList& delta, const Lists& lists) const {
    const RevocationList* base = nullptr;
    for (const RevocationList* list : lists)
        if (!list->isDelta() && delta.continues(*list) && (base == nullptr || list->isNewerThan(*base)))
            base = list;
    return base;
}

RevocationCheck::Statement RevocationCheck::statementOf(const RevocationList& list, const Lists& lists,
                                                        X509* certificate) const {
    const ListEntry entry = list.entryOf(certificate);
    Statement statement{&list, entry == ListEntry::Revoked, problemOf(list, certificate)};
    if (list.isDelta()) {
        const RevocationList* base = baseOf(list, lists);
        if (base == nullptr) {
            statement.problem = "the list that its issuer's delta revocation list continues is missing";
        } else {
            const Statement before = statementOf(*base, lists, certificate);
            statement.isRevoked |= before.isRevoked && entry != ListEntry::NoLongerRevoked;
            statement.problem =
                statement.problem != nullptr ? statement.problem : problemOf(*base, certificate);
        }
    }
    const ListTime time = list.timeAt(m_now);
    if (statement.problem == nullptr && time != ListTime::Current) {
        statement.problem = time == ListTime::OutOfDate ? "its issuer's revocation list is out of date"
                                                        : "its issuer's revocation list does not hold yet";
    }
    return statement;
}

/// Whether a list that counts, and does not revoke, has come after what revokes.
bool RevocationCheck::isTakenBack(const Statement& revoking, const std::vector<Statement>& statements) {
    return std::any_of(statements.begin(), statements.end(), [&revoking](const Statement& other) {
        return other.problem == nullptr && !other.isRevoked && other.list->isNewerThan(*revoking.list);
    });
}

RevocationState RevocationCheck::find(X509* certificate, X509* issuer) {
    const Candidates candidates = candidatesFor(certificate, issuer);
    std::map<Bytes, std::vector<Statement>> byScope;
    for (const RevocationList* list : candidates.signedOnes)
        byScope[list->scope()].push_back(statementOf(*list, candidates.signedOnes, certificate));
    RevocationState state;
    state.problem = candidates.problem;
    Lists counting;
    for (const auto& [scope, statements] : byScope) {
        for (const Statement& statement : statements) {
            if (statement.problem == nullptr)
                counting.push_back(statement.list);
            else
                state.problem = statement.problem;
            state.isRevoked |= statement.isRevoked && !isTakenBack(statement, statements);
        }
    }
    const auto isOutrun = [&counting](const RevocationList* damaged) {
        return std::any_of(counting.begin(), counting.end(),
                           [damaged](const RevocationList* other) { return !damaged->isNewerThan(*other); });
    };
    const Lists& damaged = candidates.damagedOnes;
    const bool isInDoubt = !std::all_of(damaged.begin(), damaged.end(), isOutrun);
    state.isKnown = !counting.empty() && !isInDoubt;
    if (!counting.empty() && isInDoubt)
        state.problem = "a later revocation list of its issuer's name has a wrong signature";
    return state;
}

} // namespace pki
