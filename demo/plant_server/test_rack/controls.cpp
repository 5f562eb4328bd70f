#include <chrono>
#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "test_rack/test_rack.h"

namespace plant_server {
namespace {

constexpr UA_StatusCode good = UA_STATUSCODE_GOOD;
constexpr std::size_t mostElements = 1000000;

/// "Int32" a scalar, "Int32[5]" an array, "Int32[3,4]" a matrix, "Null" the empty value.
std::optional<Value> valueOfShape(const std::string& shape) {
    const std::size_t bracket = shape.find('[');
    const std::string type = shape.substr(0, bracket);
    Value::Dimensions dimensions;
    if (bracket != std::string::npos) {
        std::size_t position = bracket;
        std::size_t elements = 1;
        do {
            std::size_t end = 0;
            const std::string rest = shape.substr(position + 1, 9);
            if (rest.empty() || rest[0] < '0' || rest[0] > '9')
                return std::nullopt;
            dimensions.push_back(static_cast<UA_UInt32>(std::stoul(rest, &end)));
            elements *= dimensions.back();
            position += 1 + end;
            if (elements > mostElements || position >= shape.size())
                return std::nullopt;
        } while (shape[position] == ',');
        if (shape.substr(position) != "]")
            return std::nullopt;
    }
    std::optional<Value> result;
    if (type == "Null" && dimensions.empty())
        result.emplace();
    forEachBuiltInType([&](auto tag) {
        using T = typename decltype(tag)::Type;
        if (type == BuiltInType<T>::name)
            result = dimensions.empty() ? Value::scalar(BuiltInType<T>::scalar())
                                        : Value::demonstration<T>(dimensions);
    });
    return result;
}

} // namespace

Controls::Controls(const Branch& rack, const NodeId& counter, Machinery machinery)
    : m_server(rack.server()), m_machinery(std::move(machinery)) {
    const Branch control =
        rack.object("Control", "Control", "Variables that make things happen when they are written");
    addValueControls(rack, control, counter);
    addNodeControls(rack, control);
    addTimeControls(rack, control);
    addConnectionControls(control);
}

void Controls::addValueControls(const Branch& rack, const Branch& control, const NodeId& counter) {
    const Branch changing = rack.folder("Changing", "Values that Control changes");
    VariableOptions any;
    any.anyShape = true;
    const NodeId value = changing.variable("Value", Value::scalar(BuiltInType<UA_Int32>::scalar()), any);
    const NodeId array = changing.variable("Array", Value::demonstration<UA_Int32>({10}));
    VariableOptions withStatus;
    withStatus.accessLevel = readWrite | UA_ACCESSLEVELMASK_STATUSWRITE | UA_ACCESSLEVELMASK_TIMESTAMPWRITE;
    const NodeId status = changing.variable("Status", Value::scalar(UA_Int32(42)), withStatus);

    m_variables.control<UA_String>(control, "Shape", view("Int32"),
                                   "Type and shape of Changing.Value: Int32, Double[5], String[2,3], Null",
                                   [=](const UA_String& shape) -> UA_StatusCode {
                                       const std::optional<Value> made = valueOfShape(text(shape));
                                       return made ? UA_Server_writeValue(m_server, value.get(), made->get())
                                                   : UA_STATUSCODE_BADINVALIDARGUMENT;
                                   });
    m_variables.control<UA_UInt32>(control, "ArrayLength", 10, "Length of Changing.Array",
                                   [=](UA_UInt32 length) -> UA_StatusCode {
                                       if (length > mostElements)
                                           return UA_STATUSCODE_BADOUTOFRANGE;
                                       const Value elements = Value::demonstration<UA_Int32>({length});
                                       return UA_Server_writeValue(m_server, array.get(), elements.get());
                                   });
    m_variables.control<UA_UInt32>(control, "StatusCode", good, "Status of Changing.Status",
                                   [=](UA_StatusCode code) {
                                       UA_DataValue data;
                                       UA_DataValue_init(&data);
                                       UA_Int32 content = 42;
                                       data.hasValue = true;
                                       UA_Variant_setScalar(&data.value, &content, &UA_TYPES[UA_TYPES_INT32]);
                                       data.hasStatus = true;
                                       data.status = code;
                                       return UA_Server_writeDataValue(m_server, status.get(), data);
                                   });
    m_variables.control<UA_Int32>(control, "JumpCounter", 0, "Adds to Moving.Counter", [=](UA_Int32 jump) {
        const UA_UInt32 count = readScalar<UA_UInt32>(m_server, counter, 0) + static_cast<UA_UInt32>(jump);
        return UA_Server_writeValue(m_server, counter.get(), Value::scalar(UA_UInt32(count)).get());
    });
}

void Controls::addNodeControls(const Branch& rack, const Branch& control) {
    const Branch created = rack.folder("Created", "Nodes that Control created");
    m_variables.control<UA_String>(control, "CreateNode", view(""),
                                   "Creates an Int32 variable with this node id below Created",
                                   [=](const UA_String& id) -> UA_StatusCode {
                                       VariableOptions options;
                                       options.id = NodeId::parse(text(id));
                                       if (options.id.isNull())
                                           return UA_STATUSCODE_BADNODEIDINVALID;
                                       try {
                                           created.variable(text(id), Value::scalar(UA_Int32(42)), options);
                                       } catch (const std::exception&) {
                                           return UA_STATUSCODE_BADNODEIDEXISTS;
                                       }
                                       return good;
                                   });
    m_variables.control<UA_String>(
        control, "DeleteNode", view(""), "Deletes the node with this id", [=](const UA_String& id) {
            return UA_Server_deleteNode(m_server, NodeId::parse(text(id)).get(), true);
        });
}

void Controls::addTimeControls(const Branch& rack, const Branch& control) {
    m_variables.control<UA_UInt32>(
        control, "AnswerDelay", 0, "Milliseconds by which every answer is late", [=](UA_UInt32 milliseconds) {
            m_machinery.connections.setDelay(std::chrono::milliseconds(milliseconds));
            return good;
        });
    m_variables.control<UA_UInt32>(control, "SlowReadDelay", static_cast<UA_UInt32>(m_slowRead.count()),
                                   "Milliseconds that a read of Slow.Value takes",
                                   [=](UA_UInt32 milliseconds) {
                                       m_slowRead = std::chrono::milliseconds(milliseconds);
                                       return good;
                                   });
    m_variables.gauge(rack.folder("Slow", "Slow values"), "Value", &UA_TYPES[UA_TYPES_DOUBLE],
                      "Reading takes Control.SlowReadDelay milliseconds", [=] {
                          m_machinery.connections.delayAnswer(m_slowRead);
                          return Value::scalar(UA_Double(1.5));
                      });
}

void Controls::afterwards(void (*action)(Controls&)) {
    struct Delayed {
        Controls* controls;
        void (*action)(Controls&);
    };
    const auto run = [](UA_Server*, void* data) {
        const std::unique_ptr<Delayed> delayed(static_cast<Delayed*>(data));
        delayed->action(*delayed->controls);
    };
    auto delayed = std::make_unique<Delayed>(Delayed{this, action});
    require(UA_Server_addTimedCallback(m_server, run, delayed.get(), UA_DateTime_nowMonotonic(), nullptr),
            "plan an action");
    [[maybe_unused]] const Delayed* const owned = delayed.release();
}

void Controls::addConnectionControls(const Branch& control) {
    m_variables.control<UA_Boolean>(
        control, "CloseConnections", false, "Breaks every client's connection after the answer to the write",
        [=](UA_Boolean) {
            afterwards([](Controls& self) { self.m_machinery.connections.closeAll(); });
            return good;
        });
    m_variables.control<UA_Boolean>(
        control, "CloseSessions", false,
        "Closes every session after the answer to the write, connections stay", [=](UA_Boolean) {
            afterwards([](Controls& self) {
                const std::vector<NodeId> sessions = self.m_machinery.clients.sessions();
                for (const NodeId& session : sessions)
                    UA_Server_closeSession(self.m_server, &session.get());
            });
            return good;
        });
    m_variables.control<UA_UInt32>(
        control, "ShutDown", 0, "Seconds after which the server ends; ServerStatus announces it until then",
        [=](UA_UInt32 seconds) {
            m_machinery.shutDown(std::chrono::seconds(seconds));
            return good;
        });
}

} // namespace plant_server
