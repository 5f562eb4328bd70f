#pragma once

#include <string>
#include <vector>

#include "file_access.h"
#include "openssl_handles.h"
#include "uabase/byte_array.h"
#include "uabase/date_time.h"
#include "uabase/string.h"

namespace pki {

/// Reads one certificate from the start of `[position, end)` and moves `position` behind it. Null, with
/// `position` where it was, when there is none, when the bytes are not the one (DER) encoding of what they
/// say, or more than a store's file may have: thumbprints and trust are about bytes.
X509Ptr parseCertificate(const unsigned char*& position, const unsigned char* end);

/// Reads certificates one behind the other; false when something else is among them, or nothing is there.
bool parseCertificates(const unsigned char* position, const unsigned char* end,
                       std::vector<X509Ptr>& certificates);

/// The content of a store's file: one or more entries, DER or PEM. Empty when anything in it cannot be read.
std::vector<X509Ptr> parseCertificateFile(const Bytes& content);
/// Whether that is all there is, so that nothing else came to harm there.
bool holdsCertificatesAlone(const Bytes& content);
/// Whether somebody has put a certificate there, in whatever form: any PEM text counts, spoilt or not.
bool looksLikeCertificate(const Bytes& content);
std::vector<X509CrlPtr> parseRevocationListFile(const Bytes& content);

Bytes encode(const X509* certificate);
UaByteArray thumbprint(const X509* certificate);

/// The URIs in the subject alternative name, in their order, as they are written there.
std::vector<std::string> uriBytes(const X509* certificate);

/// The entries of one kind (GEN_URI, GEN_DNS, ...) in the subject alternative name, in their order, for
/// people to read.
std::vector<UaString> alternativeNames(const X509* certificate, int kind);

/// The null date when it is not a time.
UaDateTime readTime(const ASN1_TIME* time);

} // namespace pki
