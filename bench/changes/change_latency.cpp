#include "changes/change_latency.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "facade/facade_items.h"
#include "raw/raw_driver.h"
#include "raw/raw_items.h"
#include "surroundings/plant_nodes.h"

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patience(10);
constexpr int cycleMilliseconds = 100;

/// Notes when a value arrives.
class ArrivalSink final : public ChangeSink {
public:
    void changed(const void* value, std::size_t size) override {
        const Clock::time_point now = Clock::now();
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::memcpy(&m_value, value, std::min(size, sizeof m_value));
        m_arrival = now;
        m_arrived.notify_one();
    }

    Clock::time_point arrivalOf(double value) {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_arrived.wait_for(lock, patience, [&] { return m_value == value; }))
            throw std::runtime_error("a change was not delivered");
        return m_arrival;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    double m_value = -1;
    Clock::time_point m_arrival;
};

double seconds(Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

} // namespace

ChangeLatencies measureChangeLatencies(const std::string& url, int writes) {
    const std::vector<Tag> node{{plant_nodes::scalar, OpcUaDataType_Double}};
    const RawNodeIds ids(node);
    std::vector<OpcUaNode> records = recordsOf(node);
    RawClient writer(url);
    writer.writeScalar(0);
    ArrivalSink rawSink;
    ArrivalSink facadeSink;
    RawItems raw(url, cycleMilliseconds, rawSink);
    FacadeItems facade(url, cycleMilliseconds, facadeSink);
    raw.add(ids.ids());
    facade.add(records);
    const RawDriver driver(raw.client());
    std::mt19937 generator; // NOLINT(cert-msc32-c,cert-msc51-cpp): the same pauses in every run
    std::uniform_int_distribution<int> pause(0, cycleMilliseconds * 1000);
    ChangeLatencies latencies;
    for (int i = 1; i <= writes; ++i) {
        std::this_thread::sleep_for(std::chrono::microseconds(pause(generator)));
        const Clock::time_point written = Clock::now();
        writer.writeScalar(i);
        latencies.raw.push_back(seconds(rawSink.arrivalOf(i) - written));
        latencies.facade.push_back(seconds(facadeSink.arrivalOf(i) - written));
    }
    return latencies;
}

} // namespace bench
