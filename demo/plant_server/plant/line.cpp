#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "plant/plant.h"

namespace plant_server {
namespace {

UA_DataType makeLineStateType() {
    UA_DataType type{};
    type.typeName = "LineState";
    type.typeId = UA_NODEID_NUMERIC(PlantNamespace, 3001);
    type.memSize = sizeof(UA_Int32);
    type.typeKind = UA_DATATYPEKIND_ENUM;
    type.pointerFree = true;
    type.overlayable = UA_BINARY_OVERLAYABLE_INTEGER;
    return type;
}

template <void (*Action)(Line&)>
UA_StatusCode call(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void* line, const UA_NodeId*, void*,
                   size_t, const UA_Variant*, size_t, UA_Variant*) {
    Action(*static_cast<Line*>(line));
    return UA_STATUSCODE_GOOD;
}

void start(Line& line) {
    line.setRunning(true);
}
void stop(Line& line) {
    line.setRunning(false);
}
void resetPartCount(Line& line) {
    line.resetPartCount();
}

Value lineState(LineState state) {
    return Value::of(&state, &lineStateType);
}

} // namespace

const UA_DataType lineStateType = makeLineStateType();

void addLineStateType(UA_Server* server) {
    const std::string name = "LineState";
    UA_DataTypeAttributes attributes = UA_DataTypeAttributes_default;
    attributes.displayName = localized("en", name);
    require(UA_Server_addDataTypeNode(server, lineStateType.typeId,
                                      UA_NODEID_NUMERIC(0, UA_NS0ID_ENUMERATION),
                                      UA_NODEID_NUMERIC(0, UA_NS0ID_HASSUBTYPE), {PlantNamespace, view(name)},
                                      attributes, nullptr, nullptr),
            "add the line states");
    std::vector<UA_LocalizedText> states;
    for (const char* state : {"Idle", "Running", "Blocked", "Fault"})
        states.push_back(localized("en", state));
    Branch(server, PlantNamespace, name, NodeId(lineStateType.typeId))
        .property("EnumStrings",
                  Value::arrayOf(states.data(), states.size(), &UA_TYPES[UA_TYPES_LOCALIZEDTEXT]));
}

Line::Line(const Branch& plant, Simulation& simulation, unsigned number) : m_server(plant.server()) {
    const std::string digits = std::to_string(number);
    const Branch line = plant.object("Line" + digits, "Line " + digits, "Filling and packing line");
    addSignals(line);
    addMethods(line);
    line.variable("Batch", Value::scalar("B-204" + digits), described("Batch number on the line"));
    line.variable("Recipe", Value::strings({"Rinse", "Fill 0.5 l", "Cap", "Label", "Pack 12"}),
                  described("Steps of the recipe in work"));
    line.variable("ZoneTemperatures", Value::demonstration<UA_Float>({8}),
                  described("Oven zones 1 to 8 in degrees Celsius"));
    const NodeId torque =
        line.variable("MotorTorque", Value::scalar(UA_Float(0)), described("Torque in Nm", readOnly));
    simulation.randomWalk<UA_Float>(torque, 20, 80, 2);
    simulation.onTick([this](double) { move(); });
}

void Line::addSignals(const Branch& line) {
    m_running =
        line.variable("Running", Value::scalar(UA_Boolean(true)), described("The line is switched on"));
    m_setpoint =
        line.variable("SpeedSetpoint", Value::scalar(UA_Double(1.5)), described("Wanted speed in m/s"));
    m_speed = line.variable("Speed", Value::scalar(UA_Double(0)), described("Belt speed in m/s", readOnly));
    m_partCount = line.variable("PartCount", Value::scalar(UA_UInt32(0)), described("Parts made", readOnly));
    VariableOptions state = described("What the line is doing", readOnly);
    state.dataType = NodeId(lineStateType.typeId);
    m_state = line.variable("State", lineState(Running), state);
}

void Line::addMethods(const Branch& line) {
    line.method("Start", "Switches the line on", call<start>, this);
    line.method("Stop", "Switches the line off", call<stop>, this);
    line.method("ResetPartCount", "Counts parts from zero", call<plant_server::resetPartCount>, this);
}

void Line::setRunning(bool running) {
    writeValue(m_server, m_running, Value::scalar(UA_Boolean(running)));
}

void Line::resetPartCount() {
    writeValue(m_server, m_partCount, Value::scalar(UA_UInt32(0)));
}

void Line::move() {
    const bool running = readScalar<UA_Boolean>(m_server, m_running, false);
    const double wanted = running ? readScalar<UA_Double>(m_server, m_setpoint, 0) : 0;
    constexpr double largestStep = 0.1;
    m_currentSpeed += std::clamp(wanted - m_currentSpeed, -largestStep, largestStep);
    writeValue(m_server, m_speed, Value::scalar(UA_Double(m_currentSpeed)));
    writeValue(m_server, m_state, lineState(m_currentSpeed > 0 ? Running : Idle));

    m_unfinishedPart += std::max(m_currentSpeed, 0.0) / 10;
    if (m_unfinishedPart >= 1) {
        m_unfinishedPart -= 1;
        const UA_UInt32 parts = readScalar<UA_UInt32>(m_server, m_partCount, 0);
        writeValue(m_server, m_partCount, Value::scalar(UA_UInt32(parts + 1)));
    }
}

} // namespace plant_server
