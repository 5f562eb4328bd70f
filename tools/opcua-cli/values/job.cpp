#include "values/job.h"

#include "output/streams.h"

#include <set>
#include <string>

namespace opcua_cli {

Job jobFor(const NodeInfo& node) {
    Job job;
    job.given = node.nodeId;
    job.node = node;
    return job;
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
