#pragma once

#include <string>

#include "uabase/status.h"

namespace UaClientSdk {

/// Tells the trace why this client goes no further. Returns `status`.
UaStatus refuse(UaStatus status, const std::string& why);

} // namespace UaClientSdk
