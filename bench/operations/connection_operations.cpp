#include "facade/facade_client.h"
#include "facade/session_client.h"
#include "measuring/comparison.h"
#include "measuring/placement.h"
#include "operations/operations.h"
#include "raw/raw_client.h"

namespace bench {

void connectAndDisconnect(benchmark::State& state, Setting& setting) {
    const Placed placed(Placement::OneCpu, setting.server());
    FacadeClient facade(setting.url());
    compare(state,
            {[&setting] { return secondsOf([&setting] { const RawClient client(setting.url()); }); },
             [&setting] { return secondsOf([&setting] { const SessionClient client(setting.url()); }); },
             [&facade] { return secondsOf([&facade] { facade.reconnect(); }); }});
}

void idleMemory(benchmark::State& state, Setting& setting) {
    const IdleClients& idle = setting.idleClients();
    publish(state, idle.raw.bytes, idle.facade.bytes);
}

void idleCpuTime(benchmark::State& state, Setting& setting) {
    const IdleClients& idle = setting.idleClients();
    publish(state, idle.raw.cpuSecondsPerMinute, idle.facade.cpuSecondsPerMinute);
}

} // namespace bench
