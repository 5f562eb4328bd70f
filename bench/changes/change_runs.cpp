#include "changes/change_runs.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "facade/facade_items.h"
#include "measuring/process_figures.h"
#include "raw/raw_driver.h"
#include "raw/raw_items.h"
#include "raw/raw_service.h"
#include "surroundings/plant_nodes.h"

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds step(5);
constexpr std::chrono::seconds patience(30);
constexpr double publishingInterval = 100;

bool waitUntil(Clock::time_point deadline, const std::function<bool()>& condition) {
    while (!condition()) {
        if (Clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(step);
    }
    return true;
}

/// The server's own count of its changes.
class ServerCount {
public:
    explicit ServerCount(const std::string& url)
        : m_client(url), m_node(raw::parsed(plant_nodes::tagChanges)) {}
    ~ServerCount() { UA_NodeId_clear(&m_node); }
    ServerCount(const ServerCount&) = delete;
    ServerCount& operator=(const ServerCount&) = delete;

    std::uint64_t read() {
        UA_ReadResponse response;
        m_client.readValue(m_node, response);
        const UA_Variant& value = response.results[0].value;
        if (!UA_Variant_hasScalarType(&value, &UA_TYPES[UA_TYPES_UINT64]))
            throw std::runtime_error("raw read: no count");
        const std::uint64_t count = *static_cast<const UA_UInt64*>(value.data);
        UA_ReadResponse_clear(&response);
        return count;
    }

private:
    RawClient m_client;
    UA_NodeId m_node;
};

/// Both ends of the run lie in the middle between two changes, when everything has been delivered.
ChangeRun measure(const std::string& url, const CountingSink& sink, int items, int intervals,
                  std::chrono::milliseconds interval) {
    ServerCount server(url);
    const auto first = static_cast<std::uint64_t>(items);
    if (!waitUntil(Clock::now() + patience, [&] { return sink.count() >= first; }))
        throw std::runtime_error("first values are missing");
    const std::uint64_t before = server.read();
    if (!waitUntil(Clock::now() + patience, [&] { return server.read() != before; }))
        throw std::runtime_error("nothing changes on the server");
    std::this_thread::sleep_for(interval / 2);
    const std::uint64_t madeBefore = server.read();
    const std::uint64_t deliveredBefore = sink.count();
    const double cpuBefore = cpuSeconds();
    std::this_thread::sleep_for(intervals * interval);
    const std::uint64_t made = server.read() - madeBefore;
    waitUntil(Clock::now() + interval / 4, [&] { return sink.count() - deliveredBefore >= made; });
    const double cpu = cpuSeconds() - cpuBefore;
    const auto delivered = static_cast<double>(sink.count() - deliveredBefore);
    return {static_cast<double>(made), delivered, cpu / delivered};
}

} // namespace

ChangeRun rawChangeRun(const std::string& url, int items, int intervals, std::chrono::milliseconds interval) {
    const RawNodeIds ids(tags(0, items));
    CountingSink sink;
    RawItems subscription(url, publishingInterval, sink);
    subscription.add(ids.ids());
    const RawDriver driver(subscription.client());
    return measure(url, sink, items, intervals, interval);
}

ChangeRun libraryChangeRun(const std::string& url, int items, int intervals,
                           std::chrono::milliseconds interval) {
    std::vector<OpcUaNode> records = recordsOf(tags(0, items));
    CountingSink sink;
    FacadeItems subscription(url, publishingInterval, sink);
    subscription.add(records);
    return measure(url, sink, items, intervals, interval);
}

} // namespace bench
