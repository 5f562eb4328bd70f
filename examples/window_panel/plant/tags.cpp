#include "tags.h"

#include <array>
#include <cstddef>
#include <limits>

namespace window_panel {
namespace {

constexpr double any = std::numeric_limits<double>::infinity();

// clang-format off
constexpr std::array<TagFacts, tagCount> table{{
    {"ns=2;s=Boiler.Drum.Level",                OpcUaDataType_Double,  "Drum level",         "%",     1,  40,   70,   43,   67},
    {"ns=2;s=Boiler.Drum.Pressure",             OpcUaDataType_Double,  "Drum pressure",      "bar",   2,   9,   11,  9.1, 10.7},
    {"ns=2;s=Boiler.Drum.Temperature",          OpcUaDataType_Double,  "Drum temperature",   "°C",    1, 165,  195,  168,  192},
    {"ns=2;s=Boiler.Feedwater.Flow",            OpcUaDataType_Float,   "Feed water flow",    "t/h",   1,   4,   10,    4,   10},
    {"ns=2;s=Boiler.Feedwater.ValvePosition",   OpcUaDataType_Float,   "Feed water valve",   "%",     1,   0,  100, -any,  any},
    {"ns=2;s=Boiler.Feedwater.PumpOn",          OpcUaDataType_Boolean, "Feed pump",          "",      0,   0,    1, -any,  any},
    {"ns=2;s=Boiler.Burner.On",                 OpcUaDataType_Boolean, "Burner",             "",      0,   0,    1, -any,  any},
    {"ns=2;s=Boiler.Burner.TemperatureSetpoint",OpcUaDataType_Double,  "Burner temperature", "°C",    1, 170,  190, -any,  any},
    {"ns=2;s=Boiler.Burner.FanSpeed",           OpcUaDataType_UInt16,  "Fan",                "1/min", 0, 800, 1600, -any,  any},
    {"ns=2;s=Line1.Running",                    OpcUaDataType_Boolean, "Line 1 is on",       "",      0,   0,    1, -any,  any},
    {"ns=2;s=Line1.SpeedSetpoint",              OpcUaDataType_Double,  "Line 1 speed",       "m/s",   2,   0,    3, -any,  any},
    {"ns=2;s=Line1.Speed",                      OpcUaDataType_Double,  "Line 1 speed",       "m/s",   2,   0,    3, -any,  any},
    {"ns=2;s=Line1.State",                      OpcUaDataType_Int32,   "Line 1 state",       "",      0,   0,    3,    0,    1},
    {"ns=2;s=Line1.PartCount",                  OpcUaDataType_UInt32,  "Parts",              "",      0,   0,  any, -any,  any},
    {"ns=2;s=Line1.MotorTorque",                OpcUaDataType_Float,   "Motor torque",       "Nm",    0,   0,  100, -any,   90},
    {"ns=2;s=Line1.Batch",                      OpcUaDataType_String,  "Batch",              "",      0,   0,    0, -any,  any},
}};
// clang-format on

} // namespace

const TagFacts& factsOf(Tag tag) {
    return table[indexOf(tag)];
}

std::array<Tag, tagCount> allTags() {
    std::array<Tag, tagCount> tags{};
    for (std::size_t i = 0; i < tagCount; ++i)
        tags[i] = static_cast<Tag>(i);
    return tags;
}

} // namespace window_panel
