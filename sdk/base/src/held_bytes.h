#pragma once

#include <cstddef>

#include <open62541/types.h>

/// What a value holds on the heap, in bytes with the heap's own share of each block. A few encoded bytes can
/// hold a lot: an empty Variant is one byte on the wire.
std::size_t heldBytes(const UA_Variant& value);
