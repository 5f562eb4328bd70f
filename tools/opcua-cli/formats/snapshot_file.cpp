#include "formats/snapshot_file.h"

#include <string>
#include <utility>
#include <variant>

#include <nlohmann/json.hpp>

#include "OpcUaHelpers.h"
#include "formats/json_list.h"
#include "formats/text_file.h"

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

Job savedNode(const Json& entry) {
    if (!entry.is_object())
        throw usageFailure("the entry is no object");
    Job job;
    job.node.nodeId = job.given = nodeIdIn(entry, "nodeId");
    job.node.displayName = textField(entry, "displayName");
    job.node.nodeClass = OpcUaNodeClass_Variable;
    const std::string type = requiredText(entry, "type");
    if (!typeFromName(type))
        throw usageFailure(unknownTypeText(type));
    job.node.dataType = *typeFromName(type);
    job.node.dimensions = shapeIn(entry);
    job.node.isArray = !job.node.dimensions.empty();
    job.wanted = parseNodeValue(job.node.dataType, job.node.dimensions, valueIn(entry));
    return job;
}

/// An id that was too long is kept as it was written: it names nothing.
Job leftOutNode(const Json& entry) {
    Job job;
    job.node.nodeId = job.given = textField(entry, "nodeId");
    job.node.displayName = textField(entry, "displayName");
    if (entry.value("failed", Json()) == true)
        job.problem = Problem{textField(entry, "reason")};
    return job;
}

Snapshot fromList(const TextFile& file, const JsonList& list) {
    Snapshot snapshot;
    inPlace(placeIn(file, 1), [&] {
        if (!list.document.is_object() || list.document.value("format", Json()) != formatName)
            throw usageFailure("this is no snapshot", "a file that opcua-cli snapshot wrote");
        snapshot.folderId = nodeIdIn(list.document, "folderId");
        snapshot.complete = list.document.value("complete", Json()) != false;
        for (const Json& entry : list.document.value("leftOut", Json::array()))
            if (entry.is_object())
                snapshot.leftOut.push_back(leftOutNode(entry));
    });
    for (const JsonEntry& entry : list.entries)
        snapshot.nodes.push_back(inPlace(placeIn(file, entry.line), [&] { return savedNode(entry.value); }));
    return snapshot;
}

} // namespace

std::string leftOutReason(const Job& leftOut) {
    return leftOut.problem ? leftOut.problem->explanation : "empty, or of none of the twelve types";
}

Json leftOutJson(const Jobs& leftOut) {
    Json list = Json::array();
    for (const Job& job : leftOut) {
        list.push_back(nodeJson(job.node));
        list.back()["reason"] = leftOutReason(job);
        list.back()["failed"] = job.problem.has_value();
    }
    return list;
}

std::string snapshotText(const Snapshot& snapshot) {
    Json nodes = Json::array();
    for (const Job& job : snapshot.nodes) {
        nodes.push_back(nodeJson(job.node));
        nodes.back()["value"] = toJson(job.value);
    }
    return document({{"format", formatName},
                     {"url", snapshot.url},
                     {"folder", snapshot.folder},
                     {"folderId", snapshot.folderId},
                     {"time", snapshot.time},
                     {"complete", snapshot.complete},
                     {"nodes", std::move(nodes)},
                     {"leftOut", leftOutJson(snapshot.leftOut)}});
}

Snapshot readSnapshot(const std::string& path) {
    const TextFile file = readTextFile(path);
    return inFile(file, [&] { return fromList(file, parseJsonList(file.text)); });
}

} // namespace opcua_cli
