#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "plant/simulation.h"
#include "plant/tags.h"
#include "server/clients.h"
#include "server/connections.h"

namespace plant_server {

/// The tester's corner, in folders below "TestRack": whatever an address space can hold.
void addValues(const Branch& rack);
void addSpecialValues(const Branch& rack);
void addTexts(const Branch& rack);
void addNames(const Branch& rack);
void addStatuses(const Branch& rack);
void addIdentifiers(const Branch& rack);
void addStructures(const Branch& rack);
void addMethods(const Branch& rack);
/// Returns the node of the counter.
NodeId addMovement(const Branch& rack, Simulation& simulation);

/// What tests steer and look at.
struct Machinery {
    Simulation& simulation;
    Clients& clients;
    Connections& connections;
    const Tags& tags;
    /// Ends the server after this time, announced to its clients until then.
    std::function<void(std::chrono::seconds)> shutDown;
};

/// Variables that run a function when they are read or written.
class LiveVariables {
public:
    using Read = std::function<Value()>;
    using Write = std::function<UA_StatusCode(const UA_Variant& value)>;

    /// Read-only; `read` makes the value.
    void gauge(const Branch& branch, const std::string& name, const UA_DataType* type,
               const std::string& description, Read read);
    /// Keeps what is written to it as long as `write` finds it good.
    template <class T>
    void control(const Branch& branch, const std::string& name, const T& initial,
                 const std::string& description, std::function<UA_StatusCode(const T& value)> write);

private:
    struct Live : NodeContext {
        Value value;
        Read read;
        Write write;
    };

    static UA_StatusCode read(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void* context,
                              UA_Boolean, const UA_NumericRange* range, UA_DataValue* result);
    static UA_StatusCode write(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void* context,
                               const UA_NumericRange* range, const UA_DataValue* written);
    void addControl(const Branch& branch, const std::string& name, Value initial,
                    const std::string& description, Write write);

    std::vector<std::unique_ptr<Live>> m_variables;
};

template <class T>
void LiveVariables::control(const Branch& branch, const std::string& name, const T& initial,
                            const std::string& description, std::function<UA_StatusCode(const T&)> write) {
    addControl(branch, name, Value::scalar(initial), description,
               [write = std::move(write)](const UA_Variant& value) {
                   if (!UA_Variant_hasScalarType(&value, BuiltInType<T>::description()))
                       return UA_StatusCode(UA_STATUSCODE_BADTYPEMISMATCH);
                   return write(*static_cast<const T*>(value.data));
               });
}

/// Nodes that tests write to make things happen. It lives as long as the server.
class Controls {
public:
    Controls(const Branch& rack, const NodeId& counter, Machinery machinery);
    Controls(const Controls&) = delete;
    Controls& operator=(const Controls&) = delete;

private:
    void addValueControls(const Branch& rack, const Branch& control, const NodeId& counter);
    void addNodeControls(const Branch& rack, const Branch& control);
    void addTimeControls(const Branch& rack, const Branch& control);
    void addConnectionControls(const Branch& control);
    /// Runs the action when the request being served is answered.
    void afterwards(void (*action)(Controls&));

    UA_Server* m_server;
    Machinery m_machinery;
    LiveVariables m_variables;
    std::chrono::milliseconds m_slowRead{500};
};

/// Nodes that tell what the server holds and did, so that tests can prove that nothing is left behind.
class Diagnostics {
public:
    Diagnostics(const Branch& rack, const Machinery& machinery);

private:
    LiveVariables m_variables;
};

/// Nodes whose use depends on who asks. It lives as long as the server.
class Permissions {
public:
    explicit Permissions(const Branch& rack);

private:
    NodeContext m_loggedIn{Access::LoggedInUsers};
    NodeContext m_denied{Access::Nobody};
};

} // namespace plant_server
