#include "values/job.h"

#include <cstddef>
#include <set>
#include <string>
#include <variant>

#include <nlohmann/json.hpp>

#include "output/streams.h"

namespace opcua_cli {

Job jobFor(const NodeInfo& node) {
    Job job;
    job.given = node.nodeId;
    job.node = node;
    return job;
}

NodeValue parseGivenValue(const Job& job, _OpcUaDataType type, const Shape& shape) {
    const auto* text = std::get_if<std::string>(&*job.givenValue);
    const bool isReal = type == OpcUaDataType_Float || type == OpcUaDataType_Double;
    if (!job.decimalComma || !isReal || !shape.empty() || text == nullptr)
        return parseNodeValue(type, shape, *job.givenValue);
    std::string pointed = *text;
    // Beside a point a comma separates thousands, or nobody knows what.
    if (const std::size_t comma = pointed.find(',');
        comma != std::string::npos && pointed.find('.') == pointed.npos)
        pointed[comma] = '.';
    return parseNodeValue(type, shape, pointed);
}

void checkTexts(Job& job) {
    try {
        for (const Value& element : job.value.elements)
            if (const auto* text = std::get_if<std::string>(&element))
                parseValue(OpcUaDataType_String, *text);
    } catch (const Failure& failure) {
        job.problem = failure.problem();
        job.value = {};
    }
}

ExitCode reportProblems(const Jobs& jobs) {
    ExitCode code = ExitCode::Success;
    std::set<std::string> told;
    for (const Job& job : jobs) {
        if (!job.problem)
            continue;
        code = ExitCode::Failed;
        if (told.insert(job.problem->explanation).second)
            reportProblem(namedProblem(job.given, *job.problem));
    }
    return code;
}

Json jobJson(const Job& job, const NodeValue& value) {
    Json json{{"node", job.given}};
    json.update(toJson(job.node));
    if (job.node.nodeId.empty())
        json["nodeId"] = nullptr;
    json["type"] = job.node.isFound() ? Json(typeName(job.node.dataType)) : Json();
    json["index"] = job.index ? Json(*job.index) : Json();
    json["value"] = toJson(value);
    json["ok"] = !job.problem;
    json["error"] = toJson(job.problem);
    return json;
}

} // namespace opcua_cli
