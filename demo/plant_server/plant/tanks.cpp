#include <cstddef>
#include <string>
#include <vector>

#include "plant/plant.h"

namespace plant_server {

void addTanks(const Branch& plant, Simulation& simulation) {
    const std::vector<std::string> contents{"Raw milk", "Skimmed milk", "Cream", "Cleaning agent"};
    const Branch tanks = plant.folder("Tanks", "Tank farm");
    for (std::size_t index = 0; index < contents.size(); ++index) {
        const std::string number = std::to_string(index + 1);
        const Branch tank = tanks.object("Tank" + number, "Tank " + number, "Storage tank, 40 m3");
        const double period = 40 + 15 * static_cast<double>(index);
        simulation.ramp<UA_Double>(
            tank.variable("Level", Value::scalar(UA_Double(0)), described("Filling level in %", readOnly)), 5,
            95, period);
        simulation.randomWalk<UA_Float>(tank.variable("Temperature", Value::scalar(UA_Float(4)),
                                                      described("In degrees Celsius", readOnly)),
                                        3, 6, 0.1);
        tank.variable("Content", Value::scalar(contents[index]), described("What the tank holds"));
        tank.variable("HighLimit", Value::scalar(UA_Double(90)), described("Level of the high alarm in %"));
        tank.variable("InletOpen", Value::scalar(UA_Boolean(index % 2 == 0)),
                      described("Inlet valve is open"));
    }
}

} // namespace plant_server
