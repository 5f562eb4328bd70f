#include "formats/job_csv.h"

#include <string>
#include <variant>

#include <nlohmann/json.hpp>

#include "formats/csv.h"

namespace opcua_cli {

std::string valueField(const NodeValue& value) {
    if (!value.shape.empty())
        return compactJson(toJson(value));
    if (value.elements.empty())
        return "";
    const Value& single = value.elements.front();
    const auto* text = std::get_if<std::string>(&single);
    return text != nullptr ? *text : toText(single);
}

std::string jobsCsv(const Jobs& jobs) {
    std::string lines = csvLine({"node", "nodeId", "displayName", "type", "index", "value", "error"});
    for (const Job& job : jobs)
        lines +=
            csvLine({job.given, job.node.nodeId, job.node.displayName,
                     job.node.isFound() ? typeAndShape(job.node) : "", indexText(job.index.value_or(Index())),
                     valueField(job.value), job.problem ? job.problem->explanation : ""});
    return lines;
}

} // namespace opcua_cli
