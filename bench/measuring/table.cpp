#include "measuring/table.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "measuring/figures.h"
#include "measuring/machine.h"

namespace bench {
namespace {

constexpr const char* rowFormat = "%-38s %9s %9s %6s %9s %6s %14s %7s  %s\n";

std::string formatted(const char* format, double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

struct Scale {
    double factor;
    const char* unit;
};

/// Three significant digits in the greatest unit that leaves a digit before the point.
template <std::size_t Count>
std::string scaled(double value, const std::array<Scale, Count>& scales) {
    const auto fits = [value](const Scale& scale) { return value >= scale.factor; };
    const auto found = std::find_if(scales.begin(), scales.end(), fits);
    const Scale& scale = found != scales.end() ? *found : scales.back();
    const double shown = value / scale.factor;
    const int decimals = shown >= 100 ? 0 : shown >= 10 ? 1 : 2;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.*f %s", decimals, shown, scale.unit);
    return text.data();
}

std::string withUnit(double value, Unit unit) {
    static constexpr std::array<Scale, 4> seconds{{{1, "s"}, {1e-3, "ms"}, {1e-6, "us"}, {1e-9, "ns"}}};
    static constexpr std::array<Scale, 3> bytes{{{1024.0 * 1024, "MiB"}, {1024, "KiB"}, {1, "B"}}};
    switch (unit) {
    case Unit::Bytes:
        return scaled(value, bytes);
    case Unit::Count:
        return formatted("%.0f", value);
    case Unit::Seconds:
        break;
    }
    return scaled(value, seconds);
}

const double* figure(const benchmark::UserCounters& figures, const char* name) {
    const auto found = figures.find(name);
    return found == figures.end() ? nullptr : &found->second.value;
}

std::string amount(const benchmark::UserCounters& figures, const char* name, Unit unit) {
    const double* value = figure(figures, name);
    return value != nullptr ? withUnit(*value, unit) : "";
}

std::string ratio(const benchmark::UserCounters& figures, const char* name) {
    const double* value = figure(figures, name);
    return value != nullptr ? formatted("%.2f", *value) : "";
}

std::string boundText(const Operation& operation) {
    switch (operation.bound.kind) {
    case Bound::Kind::Ratio:
        return formatted("%.2f x", operation.bound.limit);
    case Bound::Kind::Value:
        return withUnit(operation.bound.limit, operation.unit);
    case Bound::Kind::Above:
        return "+" + withUnit(operation.bound.limit, operation.unit);
    case Bound::Kind::Same:
        return "all";
    case Bound::Kind::None:
        break;
    }
    return "";
}

bool isKept(const Bound& bound, const benchmark::UserCounters& found) {
    const double* const library = figure(found, figures::library);
    const double* const baseline = figure(found, figures::baseline);
    const double* const ratio = figure(found, figures::ratio);
    switch (bound.kind) {
    case Bound::Kind::Ratio:
        return ratio != nullptr && *ratio <= bound.limit;
    case Bound::Kind::Value:
        return library != nullptr && *library <= bound.limit;
    case Bound::Kind::Above:
        return library != nullptr && baseline != nullptr && *library - *baseline <= bound.limit;
    case Bound::Kind::Same:
        return library != nullptr && baseline != nullptr && *library == *baseline;
    case Bound::Kind::None:
        break;
    }
    return true;
}

/// Why a run failed, empty when it did not. The second is for Google Benchmark before 1.8.
template <typename Run>
auto failure(const Run& run, int) -> decltype(run.skip_message) {
    return run.skip_message;
}
template <typename Run>
auto failure(const Run& run, long) -> decltype(run.error_message) {
    return run.error_message;
}

void printLine(const std::array<std::string, 9>& cells) {
    std::printf(rowFormat, cells[0].c_str(), cells[1].c_str(), cells[2].c_str(), cells[3].c_str(),
                cells[4].c_str(), cells[5].c_str(), cells[6].c_str(), cells[7].c_str(), cells[8].c_str());
    std::fflush(stdout);
}

} // namespace

bool Table::ReportContext(const Context&) {
    std::printf("%s\n", machineFacts().c_str());
    printLine({"operation", "baseline", "SDK layer", "ratio", "library", "ratio", "middle half", "bound",
               "verdict"});
    return true;
}

void Table::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs)
        printRow(run);
}

void Table::printRow(const Run& run) {
    const std::string& name = run.run_name.function_name;
    if (const std::string explanation = failure(run, 0); !explanation.empty()) {
        ++m_failures;
        std::printf("%-38s  FAILED: %s\n", name.c_str(), explanation.c_str());
        return;
    }
    const auto operation =
        std::find_if(m_operations.begin(), m_operations.end(),
                     [&name](const Operation& candidate) { return candidate.name == name; });
    const benchmark::UserCounters& found = run.counters;
    const Unit unit = operation->unit;
    const std::string lower = ratio(found, figures::lowerQuartile);
    printLine({name, amount(found, figures::baseline, unit), amount(found, figures::layer, unit),
               ratio(found, figures::layerRatio), amount(found, figures::library, unit),
               ratio(found, figures::ratio),
               lower.empty() ? "" : lower + " .. " + ratio(found, figures::upperQuartile),
               boundText(*operation), verdict(*operation, found)});
}

std::string Table::verdict(const Operation& operation, const benchmark::UserCounters& figures) {
    if (operation.bound.kind == Bound::Kind::None)
        return "information";
    if (isKept(operation.bound, figures))
        return "kept";
    ++m_missed;
    return "MISSED";
}

void Table::Finalize() {
    std::printf(
        "\n"
        "baseline     raw open62541 doing the same in the same run, unless the row names another (b.)\n"
        "SDK layer    the library's own session layer (sdk/client), below the facade\n"
        "ratio        to the baseline: the median of all rounds; the middle half of the library's\n");
}

} // namespace bench
