#pragma once

#include "file_access.h"
#include "uabase/byte_view.h"
#include "uapki/security_policy.h"

namespace pki {

/// Fills `bytes` from P_SHA1 or P_SHA256 (RFC 5246, 5). False when the cryptography fails; an empty secret
/// and a seed above 1024 bytes are refused by it.
bool deriveBytes(UaPkiSecurityPolicy::Digest digest, UaByteView secret, UaByteView seed, Bytes& bytes);

} // namespace pki
