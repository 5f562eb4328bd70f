#include <algorithm>
#include <string>

#include "test_rack/test_rack.h"

namespace plant_server {
namespace {

/// Ten or twelve elements that change one after the other; element k shows how often it changed.
void addMovingElements(const Branch& folder, Simulation& simulation, const std::string& name,
                       const Value::Dimensions& dimensions) {
    Value value = Value::demonstration<UA_Int32>(dimensions);
    auto* elements = static_cast<UA_Int32*>(value.get().data);
    std::fill(elements, elements + value.get().arrayLength, 0);
    const NodeId node = folder.variable(name, value, described("One element changes at each tick", readOnly));
    simulation.onTick([value, node, &simulation](double) mutable {
        auto* content = static_cast<UA_Int32*>(value.get().data);
        ++content[simulation.ticks() % value.get().arrayLength];
        writeValue(simulation.server(), node, value);
    });
}

} // namespace

NodeId addMovement(const Branch& rack, Simulation& simulation) {
    const Branch folder = rack.folder("Moving", "Moving values");
    const auto add = [&](const std::string& name, const Value& value, const std::string& description) {
        return folder.variable(name, value, described(description, readOnly));
    };
    const Value zero = Value::scalar(UA_Double(0));
    simulation.sine<UA_Double>(add("Sine", zero, "-1 to 1 in 10 seconds"), 0, 1, 10);
    simulation.ramp<UA_Double>(add("Ramp", zero, "0 to 100 in 10 seconds"), 0, 100, 10);
    simulation.randomWalk<UA_Double>(add("RandomWalk", zero, "Within -100 and 100, by at most 1 a tick"),
                                     -100, 100, 1);
    simulation.toggle(add("Toggle", Value::scalar(UA_Boolean(false)), "Changes every second"), 1);
    addMovingElements(folder, simulation, "Array", {10});
    addMovingElements(folder, simulation, "Matrix", {3, 4});
    const NodeId text = add("Text", Value::scalar("Tick 0"), "Tells the tick");
    simulation.onTick([text, &simulation](double) {
        writeValue(simulation.server(), text, Value::scalar("Tick " + std::to_string(simulation.ticks())));
    });
    NodeId counter = add("Counter", Value::scalar(UA_UInt32(0)), "Grows by 1 at each tick");
    simulation.counter<UA_UInt32>(counter);
    return counter;
}

} // namespace plant_server
