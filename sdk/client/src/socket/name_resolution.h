#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "socket/deadline.h"
#include "uabase/status.h"

namespace UaClientSdk {

/// Names that the process looks up at a time: each takes a thread.
constexpr std::size_t mostLookUps = 16;

/// Numeric addresses of a host, in the system's order of preference. On failure, with a line in the trace,
/// BadNotFound when there is no such name, BadTimeout when the resolver did not answer in time,
/// BadResourceUnavailable when there are too many look-ups or threads, BadOutOfMemory, and
/// BadCommunicationError when the resolver cannot tell.
UaStatus resolveHost(const std::string& host, const Deadline& deadline, std::vector<std::string>& addresses);

} // namespace UaClientSdk
