#pragma once

#include <chrono>
#include <ctime>
#include <string>

namespace opcua_cli {

/// "2024-05-01T08:00:00" (ISO 8601)
std::string isoText(const std::tm& parts);

/// "2024-05-01T08:00:00.250Z"
std::string utcText(std::chrono::system_clock::time_point time);
/// "2024-05-01T08:00:00Z"
std::string utcSecondsText(std::chrono::system_clock::time_point time);

/// How long something is ago, in the unit that a person would choose: "0.3 s", "12 s", "4 min", "7 h", "3 d".
std::string ageText(std::chrono::milliseconds age);

} // namespace opcua_cli
