#pragma once

#include <chrono>
#include <string>

namespace bench {

/// What came of all the changes that a server made in a while, and what they cost the client's process.
struct ChangeRun {
    double made = 0;
    double delivered = 0;
    double cpuSecondsPerValue = 0;
};

/// Monitors the first `items` tags of a server, which all change at every `interval`, for a whole number of
/// intervals.
ChangeRun rawChangeRun(const std::string& url, int items, int intervals, std::chrono::milliseconds interval);
ChangeRun libraryChangeRun(const std::string& url, int items, int intervals,
                           std::chrono::milliseconds interval);

} // namespace bench
