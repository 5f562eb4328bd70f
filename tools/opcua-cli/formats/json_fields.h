#pragma once

#include "../output/json.h"

#include <string>

namespace opcua_cli {

/// A text that an object may have, else empty; null is as good as none. Throws Failure (Usage).
std::string textField(const Json& object, const char* key);

/// The "value" that an object must have. Throws Failure (Usage).
const Json& valueField(const Json& object);

} // namespace opcua_cli
