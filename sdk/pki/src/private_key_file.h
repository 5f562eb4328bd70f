#pragma once

#include "uabase/status.h"
#include "uabase/string.h"
#include "uastack/key.h"

namespace pki {

/// Reads a PEM private key as UaPkiProvider::loadPrivateKey() describes it.
UaStatus loadPrivateKeyFile(const UaString& file, const char* password, OpcUa_Key* key);

} // namespace pki
