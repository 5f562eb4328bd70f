#include "plant/tags.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace plant_server {
namespace {

/// What a tag of one type makes of the number that it keeps.
struct TagType {
    int index;
    UA_StatusCode (*store)(UA_Variant& variant, double value);
    double (*load)(const void* content);
};

template <class T>
TagType tagType(int index) {
    return {index,
            [](UA_Variant& variant, double value) {
                T content{};
                if constexpr (std::is_same_v<T, UA_Boolean>)
                    content = static_cast<UA_Int64>(value) % 2 != 0;
                else
                    content = static_cast<T>(value);
                return UA_Variant_setScalarCopy(&variant, &content, BuiltInType<T>::description());
            },
            [](const void* content) { return static_cast<double>(*static_cast<const T*>(content)); }};
}

const std::array<TagType, 4>& tagTypes() {
    static const std::array<TagType, 4> types{
        tagType<UA_Double>(UA_TYPES_DOUBLE), tagType<UA_Int32>(UA_TYPES_INT32),
        tagType<UA_Boolean>(UA_TYPES_BOOLEAN), tagType<UA_Float>(UA_TYPES_FLOAT)};
    return types;
}

const TagType& tagTypeOf(const UA_DataType* type) {
    for (const TagType& entry : tagTypes())
        if (&UA_TYPES[entry.index] == type)
            return entry;
    return tagTypes().front();
}

std::string tagName(std::size_t index) {
    const std::string digits = std::to_string(index);
    return "Tag" + std::string(digits.size() < 5 ? 5 - digits.size() : 0, '0') + digits;
}

} // namespace

Tags::Tags(const Branch& parent, const TagOptions& options)
    : m_server(parent.server()), m_tags(options.count),
      m_changing(std::min(options.changing, options.count)) {
    if (options.count == 0)
        return;
    const Branch folder =
        parent.folder("Tags", "Tags", "Scalar variables without further meaning, for scale");
    const UA_DateTime now = UA_DateTime_now();
    for (std::size_t index = 0; index < m_tags.size(); ++index) {
        Tag& tag = m_tags[index];
        tag.type = &UA_TYPES[tagTypes()[index % tagTypes().size()].index];
        tag.value = static_cast<double>(index);
        tag.changed = now;
        VariableOptions variable;
        variable.context = &tag;
        folder.source(tagName(index), tag.type, {read, write}, variable);
    }
    if (m_changing > 0)
        require(UA_Server_addRepeatedCallback(m_server, change, this, options.changeIntervalMs, nullptr),
                "start changing tags");
}

UA_StatusCode Tags::read(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void* context,
                         UA_Boolean withTime, const UA_NumericRange* range, UA_DataValue* result) {
    if (range != nullptr)
        return UA_STATUSCODE_BADINDEXRANGENODATA;
    const Tag& tag = *static_cast<const Tag*>(context);
    result->hasValue = true;
    if (withTime) {
        result->hasSourceTimestamp = true;
        result->sourceTimestamp = tag.changed;
    }
    return tagTypeOf(tag.type).store(result->value, tag.value);
}

UA_StatusCode Tags::write(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void* context,
                          const UA_NumericRange* range, const UA_DataValue* written) {
    Tag& tag = *static_cast<Tag*>(context);
    if (range != nullptr)
        return UA_STATUSCODE_BADINDEXRANGENODATA;
    if (!UA_Variant_hasScalarType(&written->value, tag.type))
        return UA_STATUSCODE_BADTYPEMISMATCH;
    tag.value = tagTypeOf(tag.type).load(written->value.data);
    tag.changed = UA_DateTime_now();
    return UA_STATUSCODE_GOOD;
}

void Tags::change(UA_Server*, void* self) {
    auto& tags = *static_cast<Tags*>(self);
    const UA_DateTime now = UA_DateTime_now();
    for (UA_UInt32 index = 0; index < tags.m_changing; ++index) {
        tags.m_tags[index].value += 1;
        tags.m_tags[index].changed = now;
    }
    tags.m_changes += tags.m_changing;
}

} // namespace plant_server
