#include "measuring/comparison.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "measuring/figures.h"

namespace bench {
namespace {

constexpr std::size_t baselineSide = 0;
constexpr std::size_t layerSide = 1;
constexpr std::size_t librarySide = 2;
constexpr std::size_t sideCount = 3;

using Round = std::array<double, sideCount>;

Round playRound(const std::array<const Block*, sideCount>& blocks, std::size_t first) {
    Round costs{};
    for (std::size_t i = 0; i < sideCount; ++i) {
        const std::size_t side = (first + i) % sideCount;
        costs[side] = *blocks[side] ? (*blocks[side])() : 0;
    }
    return costs;
}

template <typename Value>
std::vector<double> collect(const std::vector<Round>& rounds, Value value) {
    std::vector<double> values;
    values.reserve(rounds.size());
    for (const Round& round : rounds)
        values.push_back(value(round));
    return values;
}

std::vector<double> costsOf(const std::vector<Round>& rounds, std::size_t side) {
    return collect(rounds, [side](const Round& round) { return round[side]; });
}

std::vector<double> ratiosOf(const std::vector<Round>& rounds, std::size_t side) {
    return collect(rounds, [side](const Round& round) { return round[side] / round[baselineSide]; });
}

} // namespace

double quantile(std::vector<double> values, double share) {
    std::sort(values.begin(), values.end());
    const double position = share * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(std::floor(position));
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (values[above] - values[below]) * (position - std::floor(position));
}

double median(std::vector<double> values) {
    return quantile(std::move(values), 0.5);
}

void compare(benchmark::State& state, const Sides& sides) {
    const std::array<const Block*, sideCount> blocks{&sides.baseline, &sides.layer, &sides.facade};
    playRound(blocks, 0); // what only the first call costs is no part of the comparison
    std::vector<Round> rounds;
    for ([[maybe_unused]] auto _ : state) {
        rounds.push_back(playRound(blocks, rounds.size() % sideCount));
        state.SetIterationTime(rounds.back()[librarySide]);
    }
    state.counters[figures::library] = median(costsOf(rounds, librarySide));
    if (!sides.baseline)
        return;
    state.counters[figures::baseline] = median(costsOf(rounds, baselineSide));
    const std::vector<double> ratios = ratiosOf(rounds, librarySide);
    state.counters[figures::ratio] = median(ratios);
    state.counters[figures::lowerQuartile] = quantile(ratios, 0.25);
    state.counters[figures::upperQuartile] = quantile(ratios, 0.75);
    if (sides.layer) {
        state.counters[figures::layer] = median(costsOf(rounds, layerSide));
        state.counters[figures::layerRatio] = median(ratiosOf(rounds, layerSide));
    }
}

void publish(benchmark::State& state, double library) {
    for ([[maybe_unused]] auto _ : state)
        state.SetIterationTime(library);
    state.counters[figures::library] = library;
}

void publish(benchmark::State& state, double baseline, double library) {
    publish(state, library);
    state.counters[figures::baseline] = baseline;
    state.counters[figures::ratio] = library / baseline;
}

} // namespace bench
