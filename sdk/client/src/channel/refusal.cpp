#include "channel/refusal.h"

#include <string>

#include "uabase/trace.h"

namespace UaClientSdk {

UaStatus refuse(UaStatus status, const std::string& why) {
    UaTrace::write(UaTrace::Errors, "security", "refused by this client: %s", why.c_str());
    return status;
}

UaStatus giveUp(UaStatus status, const char* why) {
    UaTrace::write(UaTrace::Errors, "channel", "connection given up by this client: %s (%s)", why,
                   status.name());
    return status;
}

} // namespace UaClientSdk
