#pragma once

#include <cstddef>
#include <cstdint>

#include "uastack/protocol_types.h"

namespace UaClientSdk {

// Lines about a connection's inner life. The platform layer's mask says which are written, whatever the
// trace's level is.

/// A channel opens, is renewed or closed.
__attribute__((format(printf, 1, 2))) void traceChannel(const char* format, ...);

void traceRequest(std::uint32_t requestId, const UA_DataType& type, std::size_t bytes);
void traceAnswer(std::uint32_t requestId, std::size_t bytes);

} // namespace UaClientSdk
