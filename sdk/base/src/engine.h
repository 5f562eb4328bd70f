#pragma once

#include <new>

#include "uabase/string.h"
#include "uastack/protocol_types.h"

// Inline functions that call the engine: for the sources of this library only.
#include <open62541/types_generated_handling.h>

/// What the engine reports from a copy is lack of memory and nothing else.
inline void throwIfBad(UA_StatusCode code) {
    if (code != UA_STATUSCODE_GOOD)
        throw std::bad_alloc();
}

/// Text as the engine prints it into a buffer of its own; `print` is for example UA_Guid_print.
template <typename Value, typename Print>
UaString enginePrinted(const Value& value, Print print) {
    UA_String buffer = {0, nullptr};
    throwIfBad(print(&value, &buffer));
    const struct Release {
        UA_String& text;
        ~Release() { UA_clear(&text, &UA_TYPES[UA_TYPES_STRING]); }
    } release{buffer};
    return UaString(buffer);
}
