#pragma once

#include <memory>
#include <vector>

#include "nodes/address_space.h"

namespace plant_server {

struct TagOptions {
    UA_UInt32 count = 0;
    UA_UInt32 changing = 0;
    double changeIntervalMs = 1000;
};

/// The folder "Tags": any number of scalar variables whose values live in one array, so that changing
/// thousands of them costs next to nothing. Types take turns: Double, Int32, Boolean, Float.
/// It must outlive the server.
class Tags {
public:
    Tags(const Branch& parent, const TagOptions& options);
    Tags(const Tags&) = delete;
    Tags& operator=(const Tags&) = delete;

    /// Single value changes made by the clock since the start.
    UA_UInt64 changes() const { return m_changes; }

private:
    struct Tag : NodeContext {
        const UA_DataType* type = nullptr;
        double value = 0;
        UA_DateTime changed = 0;
    };

    static UA_StatusCode read(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void* context,
                              UA_Boolean withTime, const UA_NumericRange* range, UA_DataValue* result);
    static UA_StatusCode write(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void* context,
                               const UA_NumericRange* range, const UA_DataValue* written);
    static void change(UA_Server*, void* self);

    UA_Server* m_server;
    std::vector<Tag> m_tags;
    UA_UInt32 m_changing;
    UA_UInt64 m_changes = 0;
};

} // namespace plant_server
