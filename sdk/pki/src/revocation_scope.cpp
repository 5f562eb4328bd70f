#include "revocation_scope.h"

#include <vector>

namespace pki {
namespace {

/// A distribution point's names as general names: they are given in full, or relative to the issuer's.
class PointNames {
public:
    PointNames(const DIST_POINT_NAME& point, const X509_NAME* issuer) {
        constexpr int inFull = 0;
        if (point.type == inFull) {
            for (int i = 0; i < sk_GENERAL_NAME_num(point.name.fullname); ++i)
                m_names.push_back(sk_GENERAL_NAME_value(point.name.fullname, i));
            return;
        }
        addRelative(point.name.relativename, issuer);
    }
    ~PointNames() = default;
    PointNames(const PointNames&) = delete;
    PointNames& operator=(const PointNames&) = delete;

    bool hasOneOf(const PointNames& others) const {
        for (GENERAL_NAME* name : m_names) {
            for (GENERAL_NAME* other : others.m_names)
                if (GENERAL_NAME_cmp(name, other) == 0)
                    return true;
        }
        return false;
    }

private:
    void addRelative(const STACK_OF(X509_NAME_ENTRY) * entries, const X509_NAME* issuer) {
        X509NamePtr name(X509_NAME_dup(issuer));
        bool isComplete = name != nullptr;
        for (int i = 0; isComplete && i < sk_X509_NAME_ENTRY_num(entries); ++i) {
            constexpr int atTheEnd = -1;
            const int set = i == 0 ? 0 : -1; // all of them are one relative name
            isComplete =
                X509_NAME_add_entry(name.get(), sk_X509_NAME_ENTRY_value(entries, i), atTheEnd, set) == 1;
        }
        m_relative.reset(isComplete ? GENERAL_NAME_new() : nullptr);
        if (m_relative != nullptr) {
            GENERAL_NAME_set0_value(m_relative.get(), GEN_DIRNAME, name.release());
            m_names.push_back(m_relative.get());
        }
    }

    std::vector<GENERAL_NAME*> m_names;
    GeneralNamePtr m_relative;
};

/// A point that names reasons, or another issuer of lists, is not one where a list for everything is found.
bool isOrdinary(const DIST_POINT& point) {
    return point.distpoint != nullptr && point.reasons == nullptr && point.CRLissuer == nullptr;
}

/// Whether the certificate tells to look for its list where this list says it is found.
bool isFoundAt(const DIST_POINT_NAME& place, X509* certificate) {
    const X509_NAME* issuer = X509_get_issuer_name(certificate);
    const DistributionPointsPtr points(static_cast<CRL_DIST_POINTS*>(
        X509_get_ext_d2i(certificate, NID_crl_distribution_points, nullptr, nullptr)));
    const PointNames names(place, issuer);
    for (int i = 0; points != nullptr && i < sk_DIST_POINT_num(points.get()); ++i) {
        const DIST_POINT* point = sk_DIST_POINT_value(points.get(), i);
        if (isOrdinary(*point) && names.hasOneOf(PointNames(*point->distpoint, issuer)))
            return true;
    }
    return false;
}

} // namespace

// OpenSSL decodes a BOOLEAN as -1 where it is absent, 0 or 255.
Coverage coverageOf(const ISSUING_DIST_POINT* scope, X509* certificate) {
    if (scope == nullptr)
        return Coverage::Whole;
    const bool isAuthority = (X509_get_extension_flags(certificate) & EXFLAG_CA) != 0;
    const bool isForOthers = scope->onlyattr > 0 || (isAuthority ? scope->onlyuser : scope->onlyCA) > 0 ||
                             (scope->distpoint != nullptr && !isFoundAt(*scope->distpoint, certificate));
    if (isForOthers)
        return Coverage::None;
    return scope->onlysomereasons != nullptr || scope->indirectCRL > 0 ? Coverage::Partly : Coverage::Whole;
}

} // namespace pki
