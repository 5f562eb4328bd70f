#include "time_text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>

namespace opcua_cli {

using std::chrono::milliseconds;

namespace {

/// "2024-05-01T08:00:00"
std::string wholeSeconds(std::time_t time) {
    std::tm parts{};
    gmtime_r(&time, &parts);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts)};
}

} // namespace

std::string utcText(std::chrono::system_clock::time_point time) {
    const auto sinceEpoch = std::chrono::floor<milliseconds>(time.time_since_epoch());
    const auto whole = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03dZ", static_cast<int>((sinceEpoch - whole).count()));
    return wholeSeconds(whole.count()) + fraction.data();
}

std::string utcSecondsText(std::chrono::system_clock::time_point time) {
    return wholeSeconds(std::chrono::floor<std::chrono::seconds>(time.time_since_epoch()).count()) + "Z";
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
