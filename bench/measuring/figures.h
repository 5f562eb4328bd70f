#pragma once

/// Names of the figures that an operation hands to the table; --benchmark_out writes them, too.
namespace bench::figures {

constexpr const char* baseline = "baseline";
constexpr const char* layer = "sdk_layer";
constexpr const char* library = "library";
constexpr const char* ratio = "ratio";
constexpr const char* layerRatio = "sdk_layer_ratio";
constexpr const char* lowerQuartile = "ratio_lower_quartile";
constexpr const char* upperQuartile = "ratio_upper_quartile";

} // namespace bench::figures
