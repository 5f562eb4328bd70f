#pragma once

#include "raw/raw_security.h"

namespace bench {

/// The certificates and keys that the library keeps beside this program. They go with this object, and there
/// are none when it comes.
class OwnCertificates {
public:
    OwnCertificates() { remove(); }
    ~OwnCertificates() { remove(); }
    OwnCertificates(const OwnCertificates&) = delete;
    OwnCertificates& operator=(const OwnCertificates&) = delete;

    /// As on a panel that has never been connected.
    void remove() const;
    /// What a library that has connected made and trusts, for a raw client that does the same.
    RawIdentity identity() const;
};

} // namespace bench
