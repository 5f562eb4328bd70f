#pragma once

#include <algorithm>
#include <functional>
#include <random>
#include <utility>
#include <vector>

#include "nodes/address_space.h"

namespace plant_server {

/// The plant's clock and what moves with it. Everything follows from the number of ticks and the seed: two
/// servers with the same seed show the same values at the same tick.
/// It must outlive the server.
class Simulation {
public:
    /// Seconds that the plant has run, by the count of its ticks.
    using Step = std::function<void(double seconds)>;

    Simulation(UA_Server* server, unsigned seed, double intervalMs);
    Simulation(const Simulation&) = delete;
    Simulation& operator=(const Simulation&) = delete;

    UA_Server* server() const { return m_server; }
    void onTick(Step step) { m_steps.push_back(std::move(step)); }

    /// The node shows `offset + amplitude * sin(2 pi seconds / period)`.
    template <class T>
    void sine(const NodeId& node, double offset, double amplitude, double period);
    /// The node rises from `low` to `high` in `period` seconds and falls back at once.
    template <class T>
    void ramp(const NodeId& node, double low, double high, double period);
    /// The node moves by at most `step` a tick and stays within the limits.
    template <class T>
    void randomWalk(const NodeId& node, double low, double high, double step);
    /// The node changes between false and true every `period` seconds.
    void toggle(const NodeId& node, double period);
    /// The node counts ticks, from whatever value it has: a value written to it is counted on from.
    template <class T>
    void counter(const NodeId& node, unsigned ticks = 1);

    template <class T>
    void show(const NodeId& node, double value) {
        writeValue(m_server, node, Value::scalar(static_cast<T>(value)));
    }

    UA_UInt32 ticks() const { return m_ticks; }

private:
    static void tick(UA_Server* server, void* self);

    UA_Server* m_server;
    double m_intervalSeconds;
    std::mt19937 m_random;
    UA_UInt32 m_ticks = 0;
    std::vector<Step> m_steps;
};

double sineAt(double seconds, double period);

template <class T>
void Simulation::sine(const NodeId& node, double offset, double amplitude, double period) {
    onTick([=](double seconds) { show<T>(node, offset + amplitude * sineAt(seconds, period)); });
}

template <class T>
void Simulation::ramp(const NodeId& node, double low, double high, double period) {
    onTick([=](double seconds) {
        const double periods = seconds / period;
        show<T>(node, low + (high - low) * (periods - static_cast<double>(static_cast<UA_UInt64>(periods))));
    });
}

template <class T>
void Simulation::randomWalk(const NodeId& node, double low, double high, double step) {
    // Each walk has a generator of its own: one more of them leaves the others' values as they were.
    std::mt19937 random(m_random());
    double value = (low + high) / 2;
    onTick([=](double) mutable {
        const double unit = static_cast<double>(random()) / static_cast<double>(std::mt19937::max());
        value = std::min(high, std::max(low, value + step * (2 * unit - 1)));
        show<T>(node, value);
    });
}

template <class T>
void Simulation::counter(const NodeId& node, unsigned ticks) {
    onTick([=](double) {
        if (m_ticks % ticks == 0)
            writeValue(m_server, node, Value::scalar(static_cast<T>(readScalar<T>(m_server, node, 0) + 1)));
    });
}

} // namespace plant_server
