#pragma once

#include <array>
#include <cstddef>

#include "OpcUaClientInterface.h"

namespace window_panel {

/// What the panel shows of the plant. The order is that of the table in tags.cpp.
enum class Tag : int {
    DrumLevel,
    DrumPressure,
    DrumTemperature,
    FeedFlow,
    FeedValve,
    FeedPump,
    BurnerOn,
    BurnerSetPoint,
    FanSpeed,
    LineRunning,
    LineSetPoint,
    LineSpeed,
    LineState,
    PartCount,
    MotorTorque,
    Batch
};
constexpr std::size_t tagCount = 16;

struct TagFacts {
    const char* nodeId;
    _OpcUaDataType type;
    const char* name;
    const char* unit;
    int decimals;
    double low; ///< of the scale; of a set point the least that may be written
    double high;
    double normalLow; ///< outside of these the value is abnormal
    double normalHigh;
};

const TagFacts& factsOf(Tag tag);

constexpr std::size_t indexOf(Tag tag) {
    return static_cast<std::size_t>(tag);
}
std::array<Tag, tagCount> allTags();

} // namespace window_panel
