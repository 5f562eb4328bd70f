#pragma once

#include "openssl_handles.h"

namespace pki {

/// For which of its issuer's certificates a revocation list speaks.
enum class Coverage {
    None,
    Partly, ///< for some reasons of revocation only, or also for other issuers: who is not in it may be
            ///< revoked
    Whole
};

/// `scope` is null for a list that says nothing about it (RFC 5280, 5.2.5).
Coverage coverageOf(const ISSUING_DIST_POINT* scope, X509* certificate);

} // namespace pki
