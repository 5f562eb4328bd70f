#include "snapshot_file.h"

#include <string>
#include <utility>
#include <variant>

#include "../nodes/node_json.h"
#include "../nodes/node_reference.h"
#include "in_place.h"
#include "json_fields.h"
#include "located_json.h"

namespace opcua_cli {
namespace {

constexpr const char* formatName = "opcua-cli snapshot 1";

/// What names a node in a snapshot.
Json nodeJson(const NodeInfo& node) {
    Json json = toJson(node);
    json.erase("browseName");
    json.erase("class");
    return json;
}

std::string requiredText(const Json& json, const char* key) {
    std::string text = textField(json, key);
    if (text.empty())
        throw usageFailure("there is no \"" + std::string(key) + "\"");
    return text;
}

std::string nodeIdIn(const Json& json, const char* key) {
    const NodeReference reference = parseNodeReference(requiredText(json, key));
    const auto* id = std::get_if<std::string>(&reference);
    if (id == nullptr)
        throw usageFailure("\"" + std::string(key) + "\" is no node id");
    return *id;
}

Shape shapeIn(const Json& json) {
    const auto found = json.find("shape");
    Shape shape;
    if (found == json.end() || !found->is_array())
        throw usageFailure("there is no \"shape\", which is an array of lengths");
    for (const Json& length : *found) {
        if (!length.is_number_unsigned())
            throw usageFailure("\"shape\" holds something that is no length");
        shape.push_back(length.get<unsigned long>());
    }
    return shape;
}

SavedNode savedNode(const Json& entry) {
    if (!entry.is_object())
        throw usageFailure("the entry is no object");
    SavedNode saved;
    saved.node.nodeId = nodeIdIn(entry, "nodeId");
    saved.node.displayName = textField(entry, "displayName");
    saved.node.nodeClass = 2;
    const std::string type = requiredText(entry, "type");
    if (!typeFromName(type))
        throw usageFailure(unknownTypeText(type));
    saved.node.dataType = *typeFromName(type);
    saved.node.dimensions = shapeIn(entry);
    saved.node.isArray = !saved.node.dimensions.empty();
    saved.value = parseNodeValue(saved.node.dataType, saved.node.dimensions, valueField(entry));
    return saved;
}

Snapshot fromList(const TextFile& file, const JsonList& list) {
    Snapshot snapshot;
    inPlace(placeIn(file, 1), [&] {
        if (!list.document.is_object() || list.document.value("format", Json()) != formatName)
            throw usageFailure("this is no snapshot", "a file that opcua-cli snapshot wrote");
        snapshot.folderId = nodeIdIn(list.document, "folderId");
    });
    for (const JsonEntry& entry : list.entries)
        snapshot.nodes.push_back(inPlace(placeIn(file, entry.line), [&] { return savedNode(entry.value); }));
    return snapshot;
}

} // namespace

Json toJson(const LeftOutNode& leftOut) {
    Json json = nodeJson(leftOut.node);
    json["reason"] = leftOut.reason;
    json["failed"] = leftOut.failed;
    return json;
}

std::string snapshotText(const Snapshot& snapshot) {
    Json nodes = Json::array();
    for (const SavedNode& saved : snapshot.nodes) {
        nodes.push_back(nodeJson(saved.node));
        nodes.back()["value"] = toJson(saved.value);
    }
    Json leftOut = Json::array();
    for (const LeftOutNode& node : snapshot.leftOut)
        leftOut.push_back(toJson(node));
    return document({{"format", formatName},
                     {"url", snapshot.url},
                     {"folder", snapshot.folder},
                     {"folderId", snapshot.folderId},
                     {"time", snapshot.time},
                     {"complete", snapshot.complete},
                     {"nodes", std::move(nodes)},
                     {"leftOut", std::move(leftOut)}});
}

Snapshot readSnapshot(const std::string& path) {
    const TextFile file = readTextFile(path);
    try {
        return fromList(file, parseJsonList(file.text));
    } catch (const JsonError& error) {
        throw failureAt(placeIn(file, error.line), error.what());
    }
}

} // namespace opcua_cli
