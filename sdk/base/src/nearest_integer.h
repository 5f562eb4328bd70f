#pragma once

#include <optional>
#include <string_view>

#include "uastack/protocol_types.h"

struct NearestInteger {
    bool isNegative = false;
    OpcUa_UInt64 magnitude = 0;
};

/// The integer that is nearest to a number in decimal digits, halves away from zero; nothing when it has more
/// than 64 bits. No binary number is in between, which would be rounded once more. `text` is one that a
/// Double can be read from.
std::optional<NearestInteger> nearestInteger(std::string_view text);
