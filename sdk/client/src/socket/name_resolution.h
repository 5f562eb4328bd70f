#pragma once

#include <string>
#include <vector>

#include "socket/deadline.h"
#include "uabase/status.h"

namespace UaClientSdk {

/// Numeric addresses of a host, in the system's order of preference. On failure, with a line in the trace,
/// BadNotFound when there is no such name, BadTimeout when the resolver did not answer in time,
/// BadResourceUnavailable when there were too many look-ups or threads, BadOutOfMemory, and
/// BadCommunicationError when the resolver cannot tell.
UaStatus resolveHost(const std::string& host, const Deadline& deadline, std::vector<std::string>& addresses);

} // namespace UaClientSdk
