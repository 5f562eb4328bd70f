#include "measuring/placement.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <system_error>
#include <unistd.h>
#include <vector>

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
    if (sched_getaffinity(thread, sizeof set, &set) != 0)
        throw std::system_error(errno, std::generic_category(), "sched_getaffinity");
    return set;
}

void pin(pid_t thread, const cpu_set_t& cpus) {
    if (sched_setaffinity(thread, sizeof cpus, &cpus) != 0)
        throw std::system_error(errno, std::generic_category(), "sched_setaffinity");
}

void pinProcess(pid_t process, const cpu_set_t& cpus) {
    const std::filesystem::path tasks = "/proc/" + std::to_string(process) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(tasks))
        pin(std::stoi(task.path().filename().string()), cpus);
}

} // namespace

std::vector<int> usableCpus() {
    const cpu_set_t set = affinityOf(0);
    std::vector<int> cpus;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu)
        if (CPU_ISSET(static_cast<std::size_t>(cpu), &set))
            cpus.push_back(cpu);
    return cpus;
}

Placed::Placed(Placement placement, pid_t server) : m_server(server), m_before(affinityOf(0)) {
    if (placement == Placement::Free)
        return;
    const std::vector<int> cpus = usableCpus();
    const int clientCpu = cpus.back();
    const int serverCpu = placement == Placement::OneCpu ? clientCpu : cpus.front();
    if (placement == Placement::TwoCpus && serverCpu == clientCpu)
        throw std::runtime_error("needs two CPUs");
    pinProcess(m_server, only(serverCpu));
    pin(0, only(clientCpu));
    keepAwake(clientCpu);
    if (serverCpu != clientCpu)
        keepAwake(serverCpu);
}

Placed::~Placed() {
    // Nobody waits for their ends: at idle priority a process needs an idle CPU even to die, and on a busy
    // machine that takes seconds. What is left of them goes with this process.
    for (const pid_t spinner : m_spinners)
        kill(spinner, SIGKILL);
    try {
        pin(0, m_before);
        pinProcess(m_server, m_before);
    } catch (const std::exception&) {
        // The server is gone: the operation at hand has failed and says so.
        return;
    }
}

/// In a process of its own, so that its CPU time is not taken for the client's.
void Placed::keepAwake(int cpu) {
    const pid_t parent = getpid();
    const pid_t spinner = fork();
    if (spinner < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (spinner > 0) {
        m_spinners.push_back(spinner);
        return;
    }
    // It may outlive its parent for a moment, whose readers wait for the end of what it writes.
    close_range(0, ~0U, 0);
    const cpu_set_t cpus = only(cpu);
    const sched_param idle{};
    // At any other priority it would disturb what it is there to help.
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != parent ||
        sched_setaffinity(0, sizeof cpus, &cpus) != 0 || sched_setscheduler(0, SCHED_IDLE, &idle) != 0) {
        _exit(1);
    }
    for (const volatile bool spin = true; spin;) {
    }
    _exit(0);
}

} // namespace bench
