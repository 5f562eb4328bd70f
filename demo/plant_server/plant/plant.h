#pragma once

#include "plant/simulation.h"

namespace plant_server {

/// The areas of the plant, as its engineers know them.

/// The plant's own enumeration: what a line is doing.
extern const UA_DataType lineStateType;
enum LineState : UA_Int32 { Idle, Running, Blocked, Fault };
void addLineStateType(UA_Server* server);

/// A production line. It follows its speed set point while it runs, and counts the parts that it makes. It
/// lives as long as the server.
class Line {
public:
    Line(const Branch& plant, Simulation& simulation, unsigned number);
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    void setRunning(bool running);
    void resetPartCount();

private:
    void addSignals(const Branch& line);
    void addMethods(const Branch& line);
    void move();

    UA_Server* m_server;
    NodeId m_running;
    NodeId m_setpoint;
    NodeId m_speed;
    NodeId m_state;
    NodeId m_partCount;
    double m_currentSpeed = 0;
    double m_unfinishedPart = 0;
};

void addBoiler(const Branch& plant, Simulation& simulation);
void addTanks(const Branch& plant, Simulation& simulation);
void addConveyors(const Branch& plant, Simulation& simulation);

} // namespace plant_server
