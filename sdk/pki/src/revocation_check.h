#pragma once

#include <ctime>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "file_access.h"
#include "revocation_list.h"
#include "security_demands.h"
#include "store_reader.h"

namespace pki {

/// What is known of a certificate's revocation.
struct RevocationState {
    /// Whether a list that counts says which certificates are revoked.
    bool isKnown = false;
    /// Whether the issuer has said that this one is, be it in a list that is out of date.
    bool isRevoked = false;
    /// Why nothing is known.
    std::string problem;
};

/// Finds out from a store's lists which certificates their issuers have revoked. A list counts for a
/// certificate when its issuer has signed it, may sign lists and has used a signature that the policy allows,
/// when it covers the certificate, is current, and nothing in it is unknown. Of several with one scope the
/// newest counts. A list that does not count for its shortcomings still revokes what stands in it. One of the
/// issuer's name that nobody known has signed may be the issuer's newest, come to harm.
class RevocationCheck {
public:
    /// `store` has to outlive it.
    RevocationCheck(const StoreContent& store, const SecurityDemands& demands, std::time_t now);

    /// `issuer` is the one who has signed `certificate`, possibly itself.
    const RevocationState& of(X509* certificate, X509* issuer);

private:
    /// What a list says of a certificate, or a list together with the changes since.
    struct Statement {
        const RevocationList* list;
        bool isRevoked;
        /// Why it cannot be relied on for a certificate that is not in it; null when it can.
        const char* problem;
    };

    /// The lists with an issuer's name that cover a certificate, in part at least.
    struct Candidates {
        std::vector<const RevocationList*> signedOnes;
        std::vector<const RevocationList*> damagedOnes;
        std::string problem;
    };

    const char* problemOf(const RevocationList& list, X509* certificate) const;
    const RevocationList* baseOf(const RevocationList& delta,
                                 const std::vector<const RevocationList*>& lists) const;
    Statement statementOf(const RevocationList& list, const std::vector<const RevocationList*>& lists,
                          X509* certificate) const;
    static bool isTakenBack(const Statement& revoking, const std::vector<Statement>& statements);
    bool isSigned(const RevocationList& list, X509* issuer);
    bool isOfNamesake(const RevocationList& list);
    Candidates candidatesFor(X509* certificate, X509* issuer);
    RevocationState find(X509* certificate, X509* issuer);

    const StoreContent& m_store;
    SecurityDemands m_demands;
    std::time_t m_now;
    std::vector<RevocationList> m_lists;
    std::map<std::pair<const X509*, const X509*>, RevocationState> m_known;
    std::map<std::pair<const RevocationList*, Bytes>, bool> m_signatures;
};

} // namespace pki
