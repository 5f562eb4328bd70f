#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

#include "facade/facade_client.h"
#include "facade/session_client.h"
#include "measuring/comparison.h"
#include "measuring/placement.h"
#include "operations/blocks.h"
#include "operations/operations.h"
#include "raw/raw_client.h"

namespace bench {
namespace {

constexpr std::chrono::milliseconds sporadicInterval(5);

/// One client of each kind on the same server.
struct Clients {
    explicit Clients(const Setting& setting)
        : raw(setting.url()), session(setting.url()), facade(setting.url()) {
        // A side that answers something else is not comparable, however fast it is.
        const double written = 42.5;
        raw.writeScalar(0);
        facade.writeScalar(written);
        if (raw.readScalar() != written || session.readScalar() != written || facade.readScalar() != written)
            throw std::runtime_error("the sides read different values");
    }

    RawClient raw;
    SessionClient session;
    FacadeClient facade;
};

template <typename Client>
Block tightWrites(Client& client, int count) {
    return [&client, count] {
        double value = 0;
        return secondsPerCall(count, [&client, &value] { client.writeScalar(++value); });
    };
}

/// Median duration of reads that are made at a steady interval.
template <typename Client>
Block sporadicReads(Client& client, int count) {
    return [&client, count] {
        std::vector<double> durations;
        auto next = std::chrono::steady_clock::now();
        for (int i = 0; i < count; ++i) {
            std::this_thread::sleep_until(next += sporadicInterval);
            durations.push_back(secondsOf([&client] { client.readScalar(); }));
        }
        return median(durations);
    };
}

void sporadicRead(benchmark::State& state, Setting& setting, Placement placement) {
    const Placed placed(placement, setting.server());
    Clients clients(setting);
    const int calls = setting.either(20, 1);
    compare(state, {sporadicReads(clients.raw, calls), sporadicReads(clients.session, calls),
                    sporadicReads(clients.facade, calls)});
}

} // namespace

void rawAgainstRaw(benchmark::State& state, Setting& setting) {
    const Placed placed(Placement::OneCpu, setting.server());
    RawClient first(setting.url());
    RawClient second(setting.url());
    const int calls = callsPerBlock(setting);
    compare(state, {tightReads(first, calls), nullptr, tightReads(second, calls)});
}

void singleRead(benchmark::State& state, Setting& setting) {
    const Placed placed(Placement::OneCpu, setting.server());
    Clients clients(setting);
    const int calls = callsPerBlock(setting);
    compare(state, {tightReads(clients.raw, calls), tightReads(clients.session, calls),
                    tightReads(clients.facade, calls)});
}

void singleWrite(benchmark::State& state, Setting& setting) {
    const Placed placed(Placement::OneCpu, setting.server());
    Clients clients(setting);
    const int calls = callsPerBlock(setting);
    compare(state, {tightWrites(clients.raw, calls), tightWrites(clients.session, calls),
                    tightWrites(clients.facade, calls)});
}

void sporadicReadOneCpu(benchmark::State& state, Setting& setting) {
    sporadicRead(state, setting, Placement::OneCpu);
}

void sporadicReadTwoCpus(benchmark::State& state, Setting& setting) {
    sporadicRead(state, setting, Placement::TwoCpus);
}

void sporadicReadFree(benchmark::State& state, Setting& setting) {
    sporadicRead(state, setting, Placement::Free);
}

} // namespace bench
