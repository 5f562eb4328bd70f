#pragma once

#include <string>
#include <vector>

namespace bench {

/// Seconds from a write on the server to the application's callback, of the same writes for both sides.
struct ChangeLatencies {
    std::vector<double> raw;
    std::vector<double> facade;
};

/// Most of a latency is the wait for the server's next sampling, every 100 ms. So the two subscriptions are
/// made together, which gives them the same cycle, and the writes come at any time of it.
ChangeLatencies measureChangeLatencies(const std::string& url, int writes);

} // namespace bench
