#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "changes/change_runs.h"
#include "facade/facade_items.h"
#include "measuring/comparison.h"
#include "measuring/placement.h"
#include "measuring/process_figures.h"
#include "operations/adding.h"
#include "operations/blocks.h"
#include "operations/operations.h"
#include "raw/raw_items.h"

namespace bench {
namespace {

constexpr std::chrono::seconds patience(30);

/// Runs `wait` until every item has delivered its first value.
template <typename Wait>
void awaitFirstValues(const CountingSink& sink, std::size_t items, Wait wait) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (sink.count() < items) {
        if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("first values are missing");
        wait();
    }
}

/// Growth of the heap an item, with first values delivered.
double rawItemBytes(const std::string& url, const std::vector<Tag>& nodes) {
    const RawNodeIds ids(nodes);
    CountingSink sink;
    RawItems subscription(url, slowPublishing, sink);
    const double before = heapBytes();
    subscription.add(ids.ids());
    awaitFirstValues(sink, nodes.size(), [&] { subscription.client().iterate(100); });
    return (heapBytes() - before) / static_cast<double>(nodes.size());
}

double libraryItemBytes(const std::string& url, const std::vector<Tag>& nodes) {
    std::vector<OpcUaNode> records = recordsOf(nodes);
    CountingSink sink;
    FacadeItems subscription(url, slowPublishing, sink);
    const double before = heapBytes();
    subscription.add(records);
    awaitFirstValues(sink, nodes.size(), [] { std::this_thread::sleep_for(std::chrono::milliseconds(20)); });
    return (heapBytes() - before) / static_cast<double>(nodes.size());
}

void changeCpuTime(benchmark::State& state, Setting& setting, Placement placement) {
    const Placed placed(placement, setting.tagServer().pid());
    const auto costOf = [&](auto run) {
        return [run, url = setting.tagServer().url(), items = setting.tagCount() / 2,
                intervals = setting.either(4, 1)] {
            return run(url, items, intervals, tagChangeInterval).cpuSecondsPerValue;
        };
    };
    compare(state, {costOf(&rawChangeRun), nullptr, costOf(&libraryChangeRun)});
}

} // namespace

void addItems(benchmark::State& state, Setting& setting) {
    const test_support::PlantServer& server = setting.restingServer();
    const Placed placed(Placement::TwoCpus, server.pid());
    const int items = setting.tagCount() / 2;
    compare(state, {rawAdds(server.url(), items), nullptr, libraryAdds(server.url(), items)});
}

void addTwiceAsManyItems(benchmark::State& state, Setting& setting) {
    const test_support::PlantServer& server = setting.restingServer();
    const Placed placed(Placement::OneCpu, server.pid());
    const int items = setting.tagCount();
    compare(state, {libraryAdds(server.url(), items / 2), nullptr, libraryAdds(server.url(), items)});
}

void itemMemory(benchmark::State& state, Setting& setting) {
    const std::string& url = setting.tagServer().url();
    const std::vector<Tag> nodes = tags(0, setting.tagCount() / 2);
    publish(state, rawItemBytes(url, nodes), libraryItemBytes(url, nodes));
}

void changesDelivered(benchmark::State& state, Setting& setting) {
    const ChangeRun run = libraryChangeRun(setting.tagServer().url(), setting.tagCount() / 2,
                                           setting.either(20, 1), tagChangeInterval);
    publish(state, run.made, run.delivered);
}

void changeCpuTimeTwoCpus(benchmark::State& state, Setting& setting) {
    changeCpuTime(state, setting, Placement::TwoCpus);
}

void changeCpuTimeFree(benchmark::State& state, Setting& setting) {
    changeCpuTime(state, setting, Placement::Free);
}

void changeLatencyMedian(benchmark::State& state, Setting& setting) {
    const ChangeLatencies& latencies = setting.changeLatencies();
    publish(state, median(latencies.raw), median(latencies.facade));
}

void changeLatencyTail(benchmark::State& state, Setting& setting) {
    const ChangeLatencies& latencies = setting.changeLatencies();
    publish(state, quantile(latencies.raw, 0.99), quantile(latencies.facade, 0.99));
}

void readWhileSubscribed(benchmark::State& state, Setting& setting) {
    const Placed placed(Placement::OneCpu, setting.tagServer().pid());
    const std::string& url = setting.tagServer().url();
    std::vector<OpcUaNode> records = recordsOf(tags(0, setting.tagCount() / 2));
    CountingSink sink;
    FacadeItems subscription(url, slowPublishing, sink);
    subscription.add(records);
    RawClient raw(url);
    const int calls = callsPerBlock(setting);
    compare(state, {tightReads(raw, calls), nullptr, tightReads(subscription.client(), calls)});
}

} // namespace bench
