#pragma once

#include <string>

#include "OpcUaHelpers.h"

namespace window_panel {

/// A value of one of the twelve types: a number, for a Boolean 0 or 1, or a text.
struct Value {
    double number = 0;
    std::string text;
};

inline Value valueOf(const _OpcUaDataChangeMsg& change) {
    Value value;
    if (!OpcUaChangeNumber(change, value.number))
        OpcUaChangeValue(change, value.text);
    return value;
}

} // namespace window_panel
