#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iomanip>
#include <iostream>
#include <memory>
#include <random>
#include <ratio>
#include <thread>
#include <vector>

#include "soak/figures.h"
#include "soak/network.h"
#include "soak/workers.h"
#include "support/server_process.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using test_support::OutageProxy;

/// Everything that works, and the outages that it works through.
class Soak {
public:
    explicit Soak(unsigned seed);
    ~Soak();
    Soak(const Soak&) = delete;
    Soak& operator=(const Soak&) = delete;

    /// Takes a sample and prints it, `samples` times in a run that lasts so long.
    void run(Clock::duration length, int samples);
    /// False when a worker failed or a connection did not survive.
    bool succeeded() const;
    const std::vector<soak::Figures>& samples() const { return m_samples; }

private:
    void workUntil(Clock::time_point end);
    void haveOutage(milliseconds length);
    void takeSample();
    milliseconds randomTime(int least, int most);

    std::mt19937 m_random;
    test_support::PlantServer m_server{{"--security", "--tags", "400", "--change-tags", "200",
                                        "--change-interval", "200", "--page-size", "100"}};
    soak::Network m_network{m_server.port()};
    soak::Work m_work;
    std::vector<std::unique_ptr<soak::Worker>> m_workers;
    std::unique_ptr<soak::Gate> m_gate;
    Clock::time_point m_start = Clock::now();
    int m_outages = 0;
    std::vector<soak::Figures> m_samples;
};

Soak::Soak(unsigned seed) : m_random(seed), m_gate(std::make_unique<soak::Gate>(3)) {
    m_workers.push_back(std::make_unique<soak::PanelWorker>(*m_gate, m_work, m_network.url()));
    m_workers.push_back(std::make_unique<soak::BrowsingWorker>(*m_gate, m_work, m_network.url()));
    m_workers.push_back(
        std::make_unique<soak::VisitingWorker>(*m_gate, m_work, m_network.url(), m_server.port()));
    std::cout << "minute  resident MB  heap MB  descriptors  threads  operations  refused    changes  outages"
                 "  connections lost\n";
    for (const auto& worker : m_workers)
        worker->start();
}

Soak::~Soak() {
    m_gate->end();
    for (const auto& worker : m_workers)
        worker->join();
}

bool Soak::succeeded() const {
    for (const auto& worker : m_workers) {
        if (!worker->failure().empty()) {
            std::cerr << "opcua-soak: " << worker->failure() << "\n";
            return false;
        }
    }
    if (m_work.lost > 0)
        std::cerr << "opcua-soak: " << m_work.lost << " connections did not survive an outage\n";
    return m_work.lost == 0;
}

void Soak::run(Clock::duration length, int samples) {
    for (int i = 1; i <= samples; ++i) {
        workUntil(m_start + length * i / samples);
        takeSample();
    }
}

void Soak::workUntil(Clock::time_point end) {
    while (Clock::now() < end) {
        const auto next = Clock::now() + randomTime(2000, 20000);
        m_gate->waitForLeaver(std::min(next, end));
        if (next < end)
            haveOutage(randomTime(200, 12000));
    }
}

void Soak::haveOutage(milliseconds length) {
    ++m_outages;
    m_network.fallSilent(m_random() % 2 == 0 ? OutageProxy::Silence::Held : OutageProxy::Silence::Lost);
    std::this_thread::sleep_for(length);
    m_network.speak();
}

void Soak::takeSample() {
    m_gate->close();
    std::this_thread::sleep_for(std::chrono::seconds(1)); // for what ends by itself
    const soak::Figures figures = soak::Figures::now();
    m_samples.push_back(figures);
    const double minutes = std::chrono::duration<double, std::ratio<60>>(Clock::now() - m_start).count();
    std::cout << std::fixed << std::setprecision(1) << std::setw(6) << minutes << std::setw(13)
              << figures.residentMegabytes << std::setw(9) << figures.heapMegabytes << std::setw(13)
              << figures.descriptors << std::setw(9) << figures.threads << std::setw(12) << m_work.operations
              << std::setw(9) << m_work.refused << std::setw(11) << m_work.changes << std::setw(9)
              << m_outages << std::setw(18) << m_work.lost << '\n'
              << std::flush;
    m_gate->open();
}

milliseconds Soak::randomTime(int least, int most) {
    return milliseconds(std::uniform_int_distribution<int>(least, most)(m_random));
}

int usage() {
    std::cerr << "usage: opcua-soak MINUTES [SEED]\n"
                 "       opcua-soak --smoke   a few seconds, whose figures say nothing\n";
    return 2;
}

int soakFor(double minutes, unsigned seed, bool judged) {
    using Minutes = std::chrono::duration<double, std::ratio<60>>;
    constexpr int leastSamples = 8;
    Soak soak(seed);
    soak.run(std::chrono::duration_cast<Clock::duration>(Minutes(minutes)),
             std::max(static_cast<int>(minutes), leastSamples));
    if (!soak.succeeded())
        return 1;
    return soak::stayedFlat(soak.samples(), std::cout) || !judged ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 3 && std::strcmp(argv[1], soak::networkOption) == 0)
            return soak::runNetwork(static_cast<std::uint16_t>(std::strtoul(argv[2], nullptr, 10)));
        if (argc == 2 && std::strcmp(argv[1], "--smoke") == 0)
            return soakFor(0.1, 1, false);
        const double minutes = argc == 2 || argc == 3 ? std::strtod(argv[1], nullptr) : 0;
        const unsigned long seed = argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 1;
        return minutes > 0 ? soakFor(minutes, static_cast<unsigned>(seed), true) : usage();
    } catch (const std::exception& error) {
        std::cerr << "opcua-soak: " << error.what() << "\n";
        return 1;
    }
}
