#include "interrupt.h"

#include "failure.h"

#include <csignal>

namespace opcua_cli {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void onInterrupt(int) {
    interrupted = 1;
}

} // namespace

void watchForInterrupt() {
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
}

void throwIfInterrupted() {
    if (interrupted != 0)
        throw Failure(ExitCode::Interrupted, {"interrupted", {}});
}

} // namespace opcua_cli
