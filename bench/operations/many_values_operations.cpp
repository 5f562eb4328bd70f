#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "facade/facade_client.h"
#include "facade/facade_values.h"
#include "measuring/comparison.h"
#include "measuring/placement.h"
#include "measuring/process_figures.h"
#include "operations/many_values.h"
#include "operations/operations.h"
#include "raw/raw_client.h"
#include "raw/raw_service.h"
#include "raw/raw_values.h"
#include "surroundings/plant_nodes.h"

namespace bench {
namespace {

constexpr int nodesPerCall = 20;

void compareManyValues(benchmark::State& state, Setting& setting, void (RawValues::*byRaw)(),
                       void (FacadeValues::*byLibrary)()) {
    const Placed placed(Placement::OneCpu, setting.tagServer().pid());
    ManyValues sides(setting.tagServer().url(), setting);
    compare(state, {[&] { return secondsOf([&] { (sides.raw.*byRaw)(); }); }, nullptr,
                    [&] {
                        const double seconds = secondsOf([&] { (sides.facade.*byLibrary)(); });
                        sides.facade.requireResults();
                        return seconds;
                    }});
}

/// Both sides with one array of Doubles that the server gets for this.
class LongArray {
public:
    LongArray(Setting& setting, int length)
        : m_raw(setting.url()), m_facade(setting.url()), m_index(static_cast<unsigned long>(length) / 2),
          m_id(raw::parsed(plant_nodes::changingShape)) {
        const std::string text = "Double[" + std::to_string(length) + "]";
        UA_String content = raw::view(text);
        UA_Variant value;
        UA_Variant_init(&value);
        UA_Variant_setScalar(&value, &content, &UA_TYPES[UA_TYPES_STRING]);
        UA_NodeId control = raw::parsed(plant_nodes::shapeControl);
        m_raw.writeValue(control, value);
        UA_NodeId_clear(&control);
        setField(m_node.nodeId, plant_nodes::changingShape);
        m_node.dataType = OpcUaDataType_Double;
        writeByLibrary(42.5);
        if (readRaw() != 42.5 || readByLibrary() != 42.5)
            throw std::runtime_error("the sides read different elements");
    }
    ~LongArray() { UA_NodeId_clear(&m_id); }
    LongArray(const LongArray&) = delete;
    LongArray& operator=(const LongArray&) = delete;

    double readRaw() {
        UA_ReadResponse response;
        const double element = *elementOf(response);
        UA_ReadResponse_clear(&response);
        return element;
    }
    void writeRaw(double element) {
        UA_ReadResponse response;
        *elementOf(response) = element;
        m_raw.writeValue(m_id, response.results[0].value);
        UA_ReadResponse_clear(&response);
    }
    double readByLibrary() {
        double element = 0;
        int size = sizeof element;
        m_facade.require(m_facade.interface().OpcUaGetArrayValue(&m_node, &m_index, 1, &element, size),
                         "read of an element");
        return element;
    }
    void writeByLibrary(double element) {
        int size = sizeof element;
        m_facade.require(m_facade.interface().OpcUaSetArrayValue(&m_node, &m_index, 1, &element, size),
                         "write of an element");
    }

private:
    double* elementOf(UA_ReadResponse& response) {
        m_raw.readValue(m_id, response);
        const UA_Variant& value = response.results[0].value;
        if (!UA_Variant_hasArrayType(&value, &UA_TYPES[UA_TYPES_DOUBLE]) || m_index >= value.arrayLength)
            throw std::runtime_error("raw read: no such element");
        return static_cast<double*>(value.data) + m_index;
    }

    RawClient m_raw;
    FacadeClient m_facade;
    unsigned long m_index;
    UA_NodeId m_id;
    OpcUaNode m_node{};
};

int arrayLength(const Setting& setting) {
    return setting.either(100000, 1000);
}

/// Growth of the memory in place over `calls` multi-reads, after what only the first ones take.
void growthOver(benchmark::State& state, Setting& setting, int calls) {
    const Placed placed(Placement::OneCpu, setting.tagServer().pid());
    FacadeClient client(setting.tagServer().url());
    FacadeValues values(client, tags(setting.tagCount() / 2, nodesPerCall));
    const auto read = [&values](int count) {
        for (int i = 0; i < count; ++i) {
            values.read();
            values.requireResults();
        }
    };
    read(setting.either(5000, 5));
    residentBytes(); // looking takes memory, too
    const double before = residentBytes();
    read(calls);
    publish(state, std::max(0.0, residentBytes() - before));
}

} // namespace

void readMany(benchmark::State& state, Setting& setting) {
    compareManyValues(state, setting, &RawValues::read, &FacadeValues::read);
}

void writeMany(benchmark::State& state, Setting& setting) {
    compareManyValues(state, setting, &RawValues::write, &FacadeValues::write);
}

void readElement(benchmark::State& state, Setting& setting) {
    const Placed placed(Placement::OneCpu, setting.server());
    LongArray sides(setting, arrayLength(setting));
    compare(state, {[&sides] { return secondsOf([&sides] { sides.readRaw(); }); }, nullptr,
                    [&sides] { return secondsOf([&sides] { sides.readByLibrary(); }); }});
}

void writeElement(benchmark::State& state, Setting& setting) {
    const Placed placed(Placement::OneCpu, setting.server());
    LongArray sides(setting, arrayLength(setting));
    compare(state, {[&sides] { return secondsOf([&sides] { sides.writeRaw(1.5); }); }, nullptr,
                    [&sides] { return secondsOf([&sides] { sides.writeByLibrary(2.5); }); }});
}

void memoryOverManyReads(benchmark::State& state, Setting& setting) {
    growthOver(state, setting, setting.either(50000, 5));
}

void memoryOverMillionCalls(benchmark::State& state, Setting& setting) {
    growthOver(state, setting, setting.either(1000000, 5));
}

} // namespace bench
