#include "wait.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>

#include "failure.h"
#include "interrupt.h"
#include "options.h"
#include "output/streams.h"

namespace opcua_cli {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

void attemptUntilThere(const std::string& patience, const std::function<void()>& attempt) {
    constexpr milliseconds longestPause{5000};
    const Clock::time_point end =
        patience == endlessly
            ? Clock::time_point::max()
            : Clock::now() + std::chrono::seconds(patience.empty() ? 0 : std::stoi(patience));
    std::string told;
    for (milliseconds pause{250};; pause = std::min(pause * 2, longestPause)) {
        try {
            attempt();
            return;
        } catch (const Failure& failure) {
            if (!failure.problem().canPass || Clock::now() >= end)
                throw;
            if (told != failure.problem().explanation)
                reportNote("waiting for the server: " + failure.problem().explanation);
            told = failure.problem().explanation;
        }
        pauseFor(std::min(pause, std::chrono::ceil<milliseconds>(end - Clock::now())));
    }
}

} // namespace opcua_cli
