#include "plant/simulation.h"

#include <cmath>

namespace plant_server {

Simulation::Simulation(UA_Server* server, unsigned seed, double intervalMs)
    : m_server(server), m_intervalSeconds(intervalMs / 1000), m_random(seed) {
    require(UA_Server_addRepeatedCallback(server, tick, this, intervalMs, nullptr), "start the simulation");
}

void Simulation::tick(UA_Server*, void* self) {
    auto& simulation = *static_cast<Simulation*>(self);
    ++simulation.m_ticks;
    const double seconds = simulation.m_ticks * simulation.m_intervalSeconds;
    for (const Step& step : simulation.m_steps)
        step(seconds);
}

void Simulation::toggle(const NodeId& node, double period) {
    onTick([=](double seconds) {
        const bool high = static_cast<UA_UInt64>(seconds / period) % 2 == 1;
        writeValue(m_server, node, Value::scalar(UA_Boolean(high)));
    });
}

double sineAt(double seconds, double period) {
    constexpr double twoPi = 6.283185307179586;
    return std::sin(twoPi * seconds / period);
}

} // namespace plant_server
