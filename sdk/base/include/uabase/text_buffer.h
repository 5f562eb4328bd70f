#pragma once

#include <cstddef>

#include "uastack/export.h"

/// Appends `source` to the zero-terminated text in `target`, never beyond `capacity` bytes, terminator
/// included. Returns the length that the whole text would have had: at or above `capacity` when it was cut. A
/// target that holds no terminator within `capacity` is left alone.
UASDK_EXPORT std::size_t UaBase_strlcat(char* target, const char* source, std::size_t capacity);
