#pragma once

#include "uabase/status.h"
#include "uabase/string.h"
#include "uastack/key.h"

namespace pki {

/// Reads a PEM private key as UaPkiProvider::loadPrivateKey() describes it.
UaStatus loadPrivateKeyFile(const UaString& file, const char* password, OpcUa_Key* key);

/// Copies what lies in the place of a private key that is about to be written to "<file>.old", or to a number
/// behind that: it may be a key in any form, and what was certified for it would be lost with it. True when
/// that is done, or nothing is there; false when it cannot be read, has more than 64 KiB, or cannot be kept.
bool keepPrivateKey(const UaString& file);

} // namespace pki
