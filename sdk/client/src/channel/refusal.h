#pragma once

#include <string>

#include "uabase/status.h"

namespace UaClientSdk {

/// Tells the trace why this client goes no further. Returns `status`.
UaStatus refuse(UaStatus status, const std::string& why);

/// Tells the trace why this client ends a connection. Returns `status`.
UaStatus giveUp(UaStatus status, const char* why);

} // namespace UaClientSdk
