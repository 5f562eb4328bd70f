#include "uabase/platform_layer.h"

#include <mutex>

#include "platform_users.h"
#include "trace_state.h"
#include "uabase/trace.h"

namespace {

std::mutex usersMutex;
unsigned int users = 0;

} // namespace

int UaPlatformLayer::init() {
    const std::lock_guard<std::mutex> lock(usersMutex);
    ++users;
    return 0;
}

void UaPlatformLayer::cleanup() {
    const std::lock_guard<std::mutex> lock(usersMutex);
    if (users == 0)
        return;
    // Two users that leave together both see the other one left when they ask for the trace to be closed.
    if (--users == 0)
        releaseTrace();
}

void UaPlatformLayer::changeTraceSettings(unsigned char enabled, unsigned int traceMask) {
    UaTrace::setStackMask(enabled != 0 ? traceMask : 0);
}

void runAsLastPlatformUser(void (*action)()) {
    const std::lock_guard<std::mutex> lock(usersMutex);
    if (users <= 1)
        action();
}
