#pragma once

#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace bench {

class Setting;

enum class Unit { Seconds, Bytes, Count };

/// What a row promises: nothing, a greatest ratio of the library to its baseline, a greatest value of the
/// library, a greatest distance above the baseline, or the baseline's value exactly.
struct Bound {
    enum class Kind { None, Ratio, Value, Above, Same };

    Kind kind = Kind::None;
    double limit = 0;

    static Bound none() { return {}; }
    static Bound ratio(double limit) { return {Kind::Ratio, limit}; }
    static Bound value(double limit) { return {Kind::Value, limit}; }
    static Bound above(double limit) { return {Kind::Above, limit}; }
    static Bound same() { return {Kind::Same, 0}; }
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
    /// Only runs when asked for: it takes a minute or more.
    bool isLong = false;
};

using Operations = std::vector<Operation>;

} // namespace bench
