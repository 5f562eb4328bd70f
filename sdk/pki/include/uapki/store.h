#pragma once

#include "uabase/status.h"
#include "uabase/string.h"
#include "uapki/certificate.h"
#include "uastack/export.h"

/// The directories of a certificate store, with or without a slash at the end. An empty text is no directory.
struct UaPkiStoreLocations {
    UaString trustedCertificates;
    UaString trustedRevocationLists;
    /// Certificates here help to build a chain; they are not trusted.
    UaString issuerCertificates;
    UaString issuerRevocationLists;
};

/// A certificate store in directories. Files are certificates or revocation lists, DER or PEM, whatever their
/// name; those whose name begins with a dot are ignored.
class UASDK_EXPORT UaPkiStore {
public:
    explicit UaPkiStore(UaPkiStoreLocations locations);

    const UaPkiStoreLocations& locations() const { return m_locations; }

    /// BadConfigurationError when a location exists and is not a directory that can be listed. A missing one
    /// is an empty one: it is made when something is saved. The trace warns of one that others can write to.
    UaStatus open() const;

    /// Saves a certificate as "<trusted certificates>/<name>.der", making the directory (0700) if needed. The
    /// file appears whole or not at all; one that holds another certificate, or cannot be read (as a whole,
    /// where certificates are in it), is not replaced: BadNotWritable. BadInvalidArgument for an empty
    /// certificate or a name that is not made of letters, digits, '-', '_' and inner '.' alone;
    /// BadConfigurationError without a directory for it; BadNotWritable when it cannot be written.
    UaStatus saveTrusted(const UaPkiCertificate& certificate, const UaString& name) const;

private:
    UaPkiStoreLocations m_locations;
};
