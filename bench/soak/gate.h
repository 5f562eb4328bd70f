#pragma once

#include <condition_variable>
#include <mutex>

namespace soak {

/// Where workers stop between two rounds of work, so that a figure can be taken while nothing is under way.
class Gate {
public:
    explicit Gate(int workers) : m_workers(workers) {}

    /// A worker's: waits while the gate is closed. False when the run is over.
    bool pass();
    /// A worker's that comes no more.
    void leave();

    /// Returns once every worker stands before the gate.
    void close();
    void open();
    /// No worker passes any more.
    void end();
    /// True when a worker has left, which none does by itself; waits for that at most until `time`.
    template <typename Time>
    bool waitForLeaver(Time time) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_until(lock, time, [this] { return m_left > 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_workers;
    int m_waiting = 0;
    int m_left = 0;
    bool m_closed = false;
    bool m_ended = false;
};

} // namespace soak
