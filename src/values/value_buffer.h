#pragma once

#include <string_view>

#include "OpcUaTypes.h"
#include "uabase/variant.h"

// A value in the caller's memory: numbers in host byte order at their own width, texts as zero-terminated
// UTF-8. `size` follows one rule for scalars, for elements of arrays and for the nodes of a multi-node call.

/// Puts a text into a buffer of `size` bytes. A shorter text is terminated and `size` becomes its length; any
/// other fills the buffer without a terminator and `size` becomes one less than it was.
void encodeText(std::string_view text, void* buffer, int& size);

/// Puts a value into the caller's buffer as the type says: nothing and size 0 for Null, nothing at all for a
/// type that is not known.
void encodeValue(const UaVariant& value, _OpcUaDataType type, void* buffer, int& size);

/// Sets `value` from the caller's buffer. False for Null and unknown types, which leave it as it is.
bool decodeValue(UaVariant& value, _OpcUaDataType type, const void* buffer, int& size);

/// Puts one element of an array or matrix into the caller's buffer, as encodeValue() does a scalar. False
/// when there is no such element.
bool encodeElement(UaVariant&& value, unsigned int position, _OpcUaDataType type, void* buffer, int& size);

/// Replaces one element of an array or matrix from the caller's buffer, as decodeValue() sets a scalar. The
/// other elements become `type` as well: false when one of them can't, since it would be lost, and when there
/// is no element at `position`. Null and unknown types leave an empty value.
bool decodeElement(UaVariant& value, unsigned int position, _OpcUaDataType type, const void* buffer,
                   int& size);
