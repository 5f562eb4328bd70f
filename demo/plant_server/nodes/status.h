#pragma once

#include <stdexcept>
#include <string>

#include <open62541/types.h>

namespace plant_server {

/// Building the address space has no way to go on after a failure: the text says what could not be done, and
/// why.
inline void require(UA_StatusCode status, const std::string& what) {
    if (status != UA_STATUSCODE_GOOD)
        throw std::runtime_error(what + ": " + UA_StatusCode_name(status));
}

} // namespace plant_server
