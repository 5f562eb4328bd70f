#pragma once

#include "uabase/string.h"
#include "uastack/protocol_types.h"
#include "uastack/status_code.h"

/// Converts the scalar of built-in type `type` at `data`; `value` is left alone unless the result is Good.
/// `Target` is one of the eleven types from Boolean to Double. The rules are those of UaVariant.
template <typename Target>
OpcUa_StatusCode convertScalar(OpcUa_BuiltInType type, const void* data, Target& value);

/// The same for text.
OpcUa_StatusCode convertScalar(OpcUa_BuiltInType type, const void* data, UaString& text);
