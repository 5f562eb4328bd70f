#include "nodes/address_space.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <open62541/server.h>

namespace plant_server {
namespace {

const UA_NodeId organizes = UA_NODEID_NUMERIC(0, UA_NS0ID_ORGANIZES);
const UA_NodeId hasComponent = UA_NODEID_NUMERIC(0, UA_NS0ID_HASCOMPONENT);
const UA_NodeId hasProperty = UA_NODEID_NUMERIC(0, UA_NS0ID_HASPROPERTY);
const UA_NodeId variableType = UA_NODEID_NUMERIC(0, UA_NS0ID_BASEDATAVARIABLETYPE);
const UA_NodeId propertyType = UA_NODEID_NUMERIC(0, UA_NS0ID_PROPERTYTYPE);

UA_QualifiedName qualified(UA_UInt16 namespaceIndex, const std::string& name) {
    return {namespaceIndex, view(name)};
}

const std::string& orElse(const std::string& first, const std::string& second) {
    return first.empty() ? second : first;
}

} // namespace

UA_LocalizedText localized(std::string_view locale, std::string_view content) {
    return {view(locale), view(content)};
}

VariableOptions described(const std::string& description, UA_Byte accessLevel) {
    VariableOptions options;
    options.description = description;
    options.accessLevel = accessLevel;
    return options;
}

UA_Argument argument(const char* name, const char* description, const UA_DataType* type) {
    UA_Argument result;
    UA_Argument_init(&result);
    result.name = view(name);
    result.description = {view("en"), view(description)};
    result.dataType = type->typeId;
    result.valueRank = UA_VALUERANK_SCALAR;
    return result;
}

void writeValue(UA_Server* server, const NodeId& node, const Value& value) {
    UA_Server_writeValue(server, node.get(), value.get());
}

Branch::Branch(UA_Server* server, UA_UInt16 namespaceIndex, std::string path, NodeId node)
    : m_server(server), m_namespace(namespaceIndex), m_path(std::move(path)), m_node(std::move(node)) {}

UA_NodeId Branch::childReference() const {
    return m_isFolder ? organizes : hasComponent;
}

Branch Branch::folder(const std::string& name, const std::string& displayName,
                      const std::string& description) const {
    return addObject(name, displayName, description, UA_NS0ID_FOLDERTYPE);
}

Branch Branch::object(const std::string& name, const std::string& displayName,
                      const std::string& description) const {
    Branch result = addObject(name, displayName, description, UA_NS0ID_BASEOBJECTTYPE);
    result.m_isFolder = false;
    return result;
}

Branch Branch::addObject(const std::string& name, const std::string& displayName,
                         const std::string& description, UA_UInt32 type) const {
    const NodeId id = idOf(name);
    UA_ObjectAttributes attributes = UA_ObjectAttributes_default;
    attributes.displayName = localized("en", orElse(displayName, name));
    attributes.description = localized("en", description);
    require(UA_Server_addObjectNode(m_server, id.get(), m_node.get(), childReference(),
                                    qualified(m_namespace, name), UA_NODEID_NUMERIC(0, type), attributes,
                                    nullptr, nullptr),
            "add " + id.text());
    return {m_server, m_namespace, childPath(name), id};
}

UA_VariableAttributes Branch::attributes(const std::string& name, const UA_DataType* type,
                                         const VariableOptions& options) const {
    UA_VariableAttributes result = UA_VariableAttributes_default;
    result.displayName = localized(options.locale, orElse(options.displayName, name));
    result.description = localized(options.locale, options.description);
    result.accessLevel = options.accessLevel;
    result.dataType = UA_NODEID_NUMERIC(0, UA_NS0ID_BASEDATATYPE);
    if (!options.dataType.isNull())
        result.dataType = options.dataType.get();
    else if (type != nullptr && !options.anyShape)
        result.dataType = type->typeId;
    return result;
}

NodeId Branch::variable(const std::string& name, const Value& value, const VariableOptions& options) const {
    return addVariable(name, value, options, childReference(), variableType);
}

NodeId Branch::property(const std::string& name, const Value& value) const {
    return addVariable(name, value, described({}, readOnly), hasProperty, propertyType);
}

NodeId Branch::addVariable(const std::string& name, const Value& value, const VariableOptions& options,
                           const UA_NodeId& reference, const UA_NodeId& type) const {
    NodeId id = options.id.isNull() ? idOf(name) : options.id;
    UA_VariableAttributes node = attributes(name, value.get().type, options);
    node.value = value.get();
    node.valueRank = options.anyShape ? UA_VALUERANK_ANY : value.rank();
    Value::Dimensions dimensions(static_cast<std::size_t>(std::max(node.valueRank, 0)), 0);
    if (!options.anyShape && value.get().arrayDimensionsSize > 0)
        dimensions.assign(value.get().arrayDimensions,
                          value.get().arrayDimensions + value.get().arrayDimensionsSize);
    node.arrayDimensions = dimensions.data();
    node.arrayDimensionsSize = dimensions.size();
    require(UA_Server_addVariableNode(m_server, id.get(), m_node.get(), reference,
                                      qualified(m_namespace, name), type, node, options.context, nullptr),
            "add " + id.text());
    return id;
}

NodeId Branch::source(const std::string& name, const UA_DataType* type, UA_DataSource callbacks,
                      const VariableOptions& options) const {
    NodeId id = options.id.isNull() ? idOf(name) : options.id;
    require(UA_Server_addDataSourceVariableNode(
                m_server, id.get(), m_node.get(), childReference(), qualified(m_namespace, name),
                variableType, attributes(name, type, options), callbacks, options.context, nullptr),
            "add " + id.text());
    return id;
}

NodeId Branch::method(const std::string& name, const std::string& description, UA_MethodCallback call,
                      void* methodContext, const std::vector<UA_Argument>& inputs,
                      const std::vector<UA_Argument>& outputs) const {
    NodeId id = idOf(name);
    UA_MethodAttributes attributes = UA_MethodAttributes_default;
    attributes.displayName = localized("en", name);
    attributes.description = localized("en", description);
    attributes.executable = true;
    attributes.userExecutable = true;
    require(UA_Server_addMethodNode(m_server, id.get(), m_node.get(), hasComponent,
                                    qualified(m_namespace, name), attributes, call, inputs.size(),
                                    inputs.data(), outputs.size(), outputs.data(), methodContext, nullptr),
            "add " + id.text());
    return id;
}

void Branch::organize(const NodeId& node) const {
    UA_ExpandedNodeId target;
    UA_ExpandedNodeId_init(&target);
    target.nodeId = node.get();
    require(UA_Server_addReference(m_server, m_node.get(), organizes, target, true),
            "refer to " + node.text());
}

} // namespace plant_server
