#pragma once

#include "openssl_handles.h"
#include "uabase/byte_view.h"

/// RSA private keys in DER. OpenSSL's own readers and writers leave a key behind in memory that they give
/// back; here each copy is wiped.
namespace pki {

/// The RSAPrivateKey (RFC 8017, A.1.2) within an unencrypted PKCS #8 key (RFC 5208, 5); empty when it is
/// none, or of another algorithm.
UaByteView rsaKeyWithin(UaByteView pkcs8);

/// Decodes an RSAPrivateKey of two primes. Null when it is none.
KeyPtr readRsaPrivateKey(UaByteView der);

} // namespace pki
