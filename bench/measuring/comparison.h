#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace bench {

/// One short stretch of work on one side; returns what it cost: seconds a call, or bytes.
using Block = std::function<double()>;

/// The sides of a row; the facade is the library as an application calls it. The baseline may be missing
/// where there is nothing to compare with; the layer between the two is there where it tells where the time
/// goes.
struct Sides {
    Block baseline;
    Block layer;
    Block facade;
};

/// A machine's pace changes from one moment to the next, so the sides take turns in short blocks, every round
/// in another order, and the ratio is taken within a round. The row shows the median of the rounds' ratios.
void compare(benchmark::State& state, const Sides& sides);

/// Shows figures that were measured otherwise.
void publish(benchmark::State& state, double library);
void publish(benchmark::State& state, double baseline, double library);

template <typename Call>
double secondsOf(Call&& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Seconds a call, of `count` calls without a pause.
template <typename Call>
double secondsPerCall(int count, Call&& call) {
    return secondsOf([count, &call] {
               for (int i = 0; i < count; ++i)
                   call();
           }) /
           count;
}

/// Median of a list that is not empty.
double median(std::vector<double> values);
/// What of a list lies below: 0.25 for the lower quartile.
double quantile(std::vector<double> values, double share);

} // namespace bench
