#pragma once

#include <sched.h>
#include <sys/types.h>
#include <vector>

namespace bench {

enum class Placement {
    OneCpu,  ///< client and server take turns on one CPU: shows the smallest differences
    TwoCpus, ///< each has a CPU of its own
    Free,    ///< where the scheduler likes, and idle CPUs may halt
};

/// Where client and server run decides more than what the client does, so it is settled for both sides alike.
///
/// Places the calling thread, the threads that it starts from now on, and the server's. The CPUs of a pinned
/// placement are kept awake by a process of idle priority: waking a halted one costs more than a call.
class Placed {
public:
    /// Throws when the machine has too few CPUs.
    Placed(Placement placement, pid_t server);
    ~Placed();
    Placed(const Placed&) = delete;
    Placed& operator=(const Placed&) = delete;

private:
    void keepAwake(int cpu);

    pid_t m_server;
    cpu_set_t m_before{};
    std::vector<pid_t> m_spinners;
};

/// CPUs that this process may use.
std::vector<int> usableCpus();

} // namespace bench
