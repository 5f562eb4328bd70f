#pragma once

#include "uabase/string.h"

/// A distinguished name (RFC 5280, 4.1.2.4), its attributes in the order in which they are encoded. An empty
/// attribute is left out of the name. Of an attribute that a name holds several times, the first is shown.
struct UaPkiIdentity {
    UaString organization;
    UaString organizationUnit;
    UaString locality;
    UaString state;
    /// Two letters (ISO 3166-1).
    UaString country;
    UaString commonName;
    UaString domainComponent;
};
