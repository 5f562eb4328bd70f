#include <string>

#include "plant/plant.h"

namespace plant_server {

void addConveyors(const Branch& plant, Simulation& simulation) {
    constexpr unsigned count = 6;
    const Branch conveyors = plant.folder("Conveyors");
    for (unsigned index = 1; index <= count; ++index) {
        const std::string number = std::to_string(index);
        const Branch conveyor = conveyors.object("Conveyor" + number, "Conveyor " + number);
        conveyor.variable("Running", Value::scalar(UA_Boolean(true)), described("Drive is switched on"));
        conveyor.variable("SpeedSetpoint", Value::scalar(UA_Float(0.8F)), described("Wanted speed in m/s"));
        simulation.randomWalk<UA_Float>(conveyor.variable("MotorCurrent", Value::scalar(UA_Float(4)),
                                                          described("Motor current in A", readOnly)),
                                        2, 6, 0.2);
        simulation.counter<UA_UInt64>(
            conveyor.variable("ItemCount", Value::scalar(UA_UInt64(0)), described("Items carried", readOnly)),
            index);
        simulation.toggle(conveyor.variable("LightBarrier", Value::scalar(UA_Boolean(false)),
                                            described("Light beam broken", readOnly)),
                          index);
        conveyor.variable("Mode", Value::scalar(UA_Byte(1)), described("0 off, 1 automatic, 2 by hand"));
    }
}

} // namespace plant_server
