#include "soak/figures.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iomanip>
#include <ios>
#include <iterator>
#include <ostream>
#include <vector>

#include "measuring/process_figures.h"

namespace soak {
namespace {

constexpr double megabyte = 1e6;

int entriesOf(const char* directory) {
    const auto entries = std::filesystem::directory_iterator(directory);
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

template <typename Figure>
double median(const std::vector<Figures>& samples, std::size_t first, std::size_t end,
              Figure Figures::* which) {
    std::vector<double> values;
    for (std::size_t i = first; i < end; ++i)
        values.push_back(static_cast<double>(samples[i].*which));
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

Figures Figures::now() {
    return {bench::residentBytes() / megabyte, bench::heapBytes() / megabyte, entriesOf("/proc/self/fd"),
            entriesOf("/proc/self/task")};
}

bool stayedFlat(const std::vector<Figures>& samples, std::ostream& explanation) {
    const std::size_t quarter = std::max<std::size_t>(samples.size() / 4, 1);
    bool flat = !samples.empty();
    const auto judge = [&](const char* name, auto which, double share, double allowance) {
        const double first = median(samples, 0, quarter, which);
        const double last = median(samples, samples.size() - quarter, samples.size(), which);
        const double bound = first * (1 + share) + allowance;
        explanation << std::setprecision(1) << std::fixed << name << ": " << first
                    << " in the first quarter, " << last << " in the last, may be " << bound
                    << (last > bound ? "  GROWS" : "") << "\n";
        flat = flat && last <= bound;
    };
    if (flat) {
        judge("resident memory, MB", &Figures::residentMegabytes, 0.1, 2);
        judge("heap in use, MB", &Figures::heapMegabytes, 0.05, 0.5);
        judge("descriptors", &Figures::descriptors, 0, 0);
        judge("threads", &Figures::threads, 0, 0);
    }
    return flat;
}

} // namespace soak
