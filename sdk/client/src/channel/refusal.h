#pragma once

#include "uabase/status.h"
#include "uabase/trace.h"

namespace UaClientSdk {

/// Tells the trace that it is this side that ends a connection, and why.
inline UaStatus giveUp(UaStatus status, const char* why) {
    UaTrace::write(UaTrace::Errors, "channel", "connection given up by this client: %s (%s)", why,
                   status.name());
    return status;
}

} // namespace UaClientSdk
