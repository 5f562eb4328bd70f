#pragma once

#include <chrono>
#include <ctime>

namespace test_support {

/// From now on this program finds the clock this much further on. moved_clock.cpp, which puts itself in the
/// place of the system's clock_gettime(), belongs to the program's sources.
void moveClock(clockid_t clock, std::chrono::seconds by);

} // namespace test_support
