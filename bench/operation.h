#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace bench {

class Setting;

enum class Unit { Seconds, Bytes };

/// What a row promises: nothing, a greatest ratio of the library to its baseline, or a greatest value of the
/// library.
struct Bound {
    enum class Kind { None, Ratio, Value };

    Kind kind = Kind::None;
    double limit = 0;

    static Bound none() { return {}; }
    static Bound ratio(double limit) { return {Kind::Ratio, limit}; }
    static Bound value(double limit) { return {Kind::Value, limit}; }
};

/// One row of the table.
struct Operation {
    std::string name;
    /// The question that the row answers.
    std::string question;
    Bound bound;
    /// How often both sides are measured; a full run's figure.
    int rounds;
    void (*run)(benchmark::State& state, Setting& setting);
    Unit unit = Unit::Seconds;
};

using Operations = std::vector<Operation>;

} // namespace bench
