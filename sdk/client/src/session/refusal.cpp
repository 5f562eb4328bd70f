#include "session/refusal.h"

#include "uabase/trace.h"

namespace UaClientSdk {

UaStatus refuse(UaStatus status, const std::string& why) {
    UaTrace::write(UaTrace::Errors, "security", "refused by this client: %s", why.c_str());
    return status;
}

} // namespace UaClientSdk
