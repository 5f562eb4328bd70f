#pragma once

#include "uabase/status.h"
#include "uabase/string.h"
#include "uastack/key.h"

namespace pki {

/// Reads a PEM private key as UaPkiProvider::loadPrivateKey() describes it.
UaStatus loadPrivateKeyFile(const UaString& file, const char* password, OpcUa_Key* key);

/// Copies a private key that is about to be replaced to "<file>.old", or to a number behind that: what was
/// certified for it would be lost with it. True when that is done, or there is no key in the file.
bool keepPrivateKey(const UaString& file);

} // namespace pki
