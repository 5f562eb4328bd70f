#pragma once

#include "openssl_handles.h"
#include "uastack/key.h"

namespace pki {

/// Null when the record holds no RSA private key, or anything behind it.
KeyPtr readRsaPrivateKey(const OpcUa_Key& record);

} // namespace pki
