#include "time_text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>

namespace opcua_cli {

using std::chrono::milliseconds;

std::string utcText(std::chrono::system_clock::time_point time) {
    const auto sinceEpoch = std::chrono::floor<milliseconds>(time.time_since_epoch());
    const auto wholeSeconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
    const std::time_t seconds = wholeSeconds.count();
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    const std::size_t size = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(text.data() + size, text.size() - size, ".%03dZ",
                  static_cast<int>((sinceEpoch - wholeSeconds).count()));
    return text.data();
}

std::string ageText(milliseconds age) {
    const long long tenths = std::max<long long>(age.count(), 0) / 100;
    const long long seconds = tenths / 10;
    if (seconds < 10)
        return std::to_string(seconds) + "." + std::to_string(tenths % 10) + " s";
    if (seconds < 100)
        return std::to_string(seconds) + " s";
    if (seconds < 100LL * 60)
        return std::to_string(seconds / 60) + " min";
    if (seconds < 48LL * 3600)
        return std::to_string(seconds / 3600) + " h";
    return std::to_string(seconds / (24LL * 3600)) + " d";
}

} // namespace opcua_cli
