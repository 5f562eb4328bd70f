#include "support/moved_clock.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <ctime>

#include "support/next_definition.h"

namespace {

constexpr std::size_t clocks = 16;
std::atomic<time_t> movedBy[clocks]; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

} // namespace

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec* time) noexcept {
    static const auto next = nextDefinition<int (*)(clockid_t, timespec*)>("clock_gettime");
    const int result = next(clock, time);
    if (result == 0 && static_cast<std::size_t>(clock) < clocks)
        time->tv_sec += movedBy[clock];
    return result;
}

void test_support::moveClock(clockid_t clock, std::chrono::seconds by) {
    movedBy[clock] = by.count();
}
