#pragma once

#include "uabase/byte_view.h"

// fixed_nonces.cpp stands in for UaPkiRandomBytes: an input has the same effect in every run, and the other
// side knows the nonces that it cannot read.

/// From now on nonces are those that a program begins with.
void startNonces();
/// The one that was made last.
UaByteView lastNonce();
