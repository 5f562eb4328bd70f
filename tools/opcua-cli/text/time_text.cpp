#include "text/time_text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <string>

namespace opcua_cli {

using std::chrono::milliseconds;

namespace {

std::string secondsText(std::chrono::system_clock::time_point time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time.time_since_epoch());
    const std::time_t wholeSeconds = seconds.count();
    std::tm parts{};
    return isoText(*gmtime_r(&wholeSeconds, &parts));
}

} // namespace

std::string isoText(const std::tm& parts) {
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts)};
}

std::string utcText(std::chrono::system_clock::time_point time) {
    const auto sinceEpoch = std::chrono::floor<milliseconds>(time.time_since_epoch());
    const auto rest = sinceEpoch - std::chrono::floor<std::chrono::seconds>(sinceEpoch);
    return secondsText(time) + "." + std::to_string(1000 + rest.count()).substr(1) + "Z";
}

std::string utcSecondsText(std::chrono::system_clock::time_point time) {
    return secondsText(time) + "Z";
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
