#include <chrono>

#include "facade/facade_client.h"
#include "measuring/comparison.h"
#include "operations/adding.h"
#include "operations/blocks.h"
#include "operations/many_values.h"
#include "operations/operations.h"
#include "raw/raw_client.h"
#include "surroundings/delay_proxy.h"

// What goes over a plant network: the round trips count, not who sits on which CPU.
namespace bench {
namespace {

using std::chrono::microseconds;

constexpr microseconds nearby(500); // each way
constexpr microseconds far(2500);

microseconds delayOf(const Setting& setting, microseconds delay) {
    return setting.either(delay, microseconds(50));
}

void browseOver(benchmark::State& state, Setting& setting, microseconds delay) {
    const DelayProxy line(setting.port(), delayOf(setting, delay));
    RawClient raw(line.url());
    FacadeClient facade(line.url());
    compare(state, {browses(raw), nullptr, browses(facade)});
}

void readOver(benchmark::State& state, Setting& setting, microseconds delay) {
    const DelayProxy line(setting.tagServer().port(), delayOf(setting, delay));
    ManyValues sides(line.url(), setting);
    compare(state, {[&] { return secondsOf([&] { sides.raw.read(); }); }, nullptr,
                    [&] {
                        const double seconds = secondsOf([&] { sides.facade.read(); });
                        sides.facade.requireResults();
                        return seconds;
                    }});
}

void addOver(benchmark::State& state, Setting& setting, microseconds delay) {
    const DelayProxy line(setting.restingServer().port(), delayOf(setting, delay));
    const int items = setting.tagCount() / 2;
    compare(state, {rawAdds(line.url(), items), nullptr, libraryAdds(line.url(), items)});
}

} // namespace

void browseNearby(benchmark::State& state, Setting& setting) {
    browseOver(state, setting, nearby);
}

void browseFar(benchmark::State& state, Setting& setting) {
    browseOver(state, setting, far);
}

void readManyNearby(benchmark::State& state, Setting& setting) {
    readOver(state, setting, nearby);
}

void readManyFar(benchmark::State& state, Setting& setting) {
    readOver(state, setting, far);
}

void addItemsNearby(benchmark::State& state, Setting& setting) {
    addOver(state, setting, nearby);
}

void addItemsFar(benchmark::State& state, Setting& setting) {
    addOver(state, setting, far);
}

} // namespace bench
