#pragma once

#include "openssl_handles.h"
#include "uabase/string.h"
#include "uapki/identity.h"

namespace pki {

/// Null when an attribute does not fit what X.520 allows for it.
X509NamePtr makeName(const UaPkiIdentity& identity);

UaPkiIdentity readName(const X509_NAME* name);

/// The whole name in one line, most specific attribute first (RFC 2253), for people.
UaString nameText(const X509_NAME* name);

/// The text of an ASN.1 string as UTF-8, made safe to show: a certificate is foreign input, and a zero byte
/// or a terminal's escape sequence in a name must not hide what follows.
UaString printableText(const ASN1_STRING* string);

} // namespace pki
