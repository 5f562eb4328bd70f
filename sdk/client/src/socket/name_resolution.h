#pragma once

#include <string>
#include <vector>

#include "socket/deadline.h"

namespace UaClientSdk {

/// Numeric addresses of a host, in the system's order of preference; empty when the name is unknown or the
/// resolver did not answer in time.
std::vector<std::string> resolveHost(const std::string& host, const Deadline& deadline);

} // namespace UaClientSdk
