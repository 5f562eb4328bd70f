#include "plant/plant.h"

namespace plant_server {

void addBoiler(const Branch& plant, Simulation& simulation) {
    const Branch boiler = plant.object("Boiler", "Boiler", "Steam boiler, 8 t/h");

    const Branch drum = boiler.object("Drum", "Steam drum");
    simulation.sine<UA_Double>(
        drum.variable("Level", Value::scalar(UA_Double(55)), described("Level in %", readOnly)), 55, 10, 60);
    simulation.sine<UA_Double>(
        drum.variable("Pressure", Value::scalar(UA_Double(10)), described("Pressure in bar", readOnly)), 10,
        0.8, 45);
    simulation.randomWalk<UA_Double>(drum.variable("Temperature", Value::scalar(UA_Double(180)),
                                                   described("Temperature in degrees Celsius", readOnly)),
                                     170, 190, 0.5);

    const Branch feedwater = boiler.object("Feedwater", "Feed water");
    simulation.randomWalk<UA_Float>(
        feedwater.variable("Flow", Value::scalar(UA_Float(7)), described("Flow in t/h", readOnly)), 5, 9,
        0.2);
    feedwater.variable("ValvePosition", Value::scalar(UA_Float(62.5F)), described("Valve opening in %"));
    feedwater.variable("PumpOn", Value::scalar(UA_Boolean(true)), described("Feed pump is switched on"));

    const Branch burner = boiler.object("Burner", "Burner");
    burner.variable("On", Value::scalar(UA_Boolean(true)), described("Burner is switched on"));
    burner.variable("TemperatureSetpoint", Value::scalar(UA_Double(180)), described("In degrees Celsius"));
    simulation.ramp<UA_UInt16>(
        burner.variable("FanSpeed", Value::scalar(UA_UInt16(900)), described("Fan speed in 1/min", readOnly)),
        900, 1500, 30);

    const UA_LocalizedText alarm = localized("en", "No alarm");
    boiler.variable("AlarmText", Value::of(&alarm, &UA_TYPES[UA_TYPES_LOCALIZEDTEXT]),
                    described("Latest alarm", readOnly));
    const UA_DateTime inspected = UA_DateTime_fromUnixTime(1704103200);
    boiler.variable("LastInspection", Value::of(&inspected, &UA_TYPES[UA_TYPES_DATETIME]),
                    described("End of the latest inspection"));
}

} // namespace plant_server
