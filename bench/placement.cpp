#include "placement.h"

#include <pthread.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace bench {
namespace {

cpu_set_t only(int cpu) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<std::size_t>(cpu), &set);
    return set;
}

cpu_set_t affinityOf(pid_t thread) {
    cpu_set_t set;
    if (sched_getaffinity(thread, sizeof set, &set) != 0) {
        throw std::system_error(errno, std::generic_category(), "sched_getaffinity");
    }
    return set;
}

void pin(pid_t thread, const cpu_set_t& cpus) {
    if (sched_setaffinity(thread, sizeof cpus, &cpus) != 0) {
        throw std::system_error(errno, std::generic_category(), "sched_setaffinity");
    }
}

void pinProcess(pid_t process, const cpu_set_t& cpus) {
    const std::filesystem::path tasks = "/proc/" + std::to_string(process) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(tasks)) {
        pin(std::stoi(task.path().filename().string()), cpus);
    }
}

} // namespace

std::vector<int> usableCpus() {
    const cpu_set_t set = affinityOf(0);
    std::vector<int> cpus;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
        if (CPU_ISSET(static_cast<std::size_t>(cpu), &set)) {
            cpus.push_back(cpu);
        }
    }
    return cpus;
}

Placed::Placed(Placement placement, pid_t server) : m_server(server), m_before(affinityOf(0)) {
    if (placement == Placement::Free) {
        return;
    }
    const std::vector<int> cpus = usableCpus();
    const int clientCpu = cpus.back();
    const int serverCpu = placement == Placement::OneCpu ? clientCpu : cpus.front();
    if (placement == Placement::TwoCpus && serverCpu == clientCpu) {
        throw std::runtime_error("needs two CPUs");
    }
    pinProcess(m_server, only(serverCpu));
    pin(0, only(clientCpu));
    keepAwake(clientCpu);
    if (serverCpu != clientCpu) {
        keepAwake(serverCpu);
    }
}

Placed::~Placed() {
    m_stop = true;
    for (std::thread& spinner : m_spinners) {
        spinner.join();
    }
    try {
        pin(0, m_before);
        pinProcess(m_server, m_before);
    } catch (const std::exception&) {
        // The server is gone: the operation at hand has failed and says so.
        return;
    }
}

void Placed::keepAwake(int cpu) {
    m_spinners.emplace_back([this, cpu] {
        pin(0, only(cpu));
        const sched_param priority{};
        if (sched_setscheduler(0, SCHED_IDLE, &priority) != 0) {
            return; // at any other priority it would disturb what it is there to help
        }
        while (!m_stop) {
        }
    });
}

} // namespace bench
