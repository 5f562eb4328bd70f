#include "commands/comparison.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <unordered_map>
#include <variant>

namespace opcua_cli {
namespace {

using Kind = Difference::Kind;

class Nodes {
public:
    explicit Nodes(const Jobs& jobs) {
        for (const Job& job : jobs)
            m_jobs.emplace(job.node.nodeId, &job);
    }

    /// What there is of the same node, or null.
    const Job* find(const Job& wanted) const {
        const auto found = m_jobs.find(wanted.node.nodeId);
        return found == m_jobs.end() ? nullptr : found->second;
    }

private:
    std::unordered_map<std::string, const Job*> m_jobs;
};

/// NaN for all but Float and Double.
double realNumber(const Value& value) {
    if (const auto* number = std::get_if<float>(&value))
        return static_cast<double>(*number);
    const auto* number = std::get_if<double>(&value);
    return number != nullptr ? *number : std::numeric_limits<double>::quiet_NaN();
}

bool isSameWith(const SameValue& same, const NodeValue& one, const NodeValue& other) {
    return std::equal(one.elements.begin(), one.elements.end(), other.elements.begin(), other.elements.end(),
                      same);
}

/// A node that only one side has a value of. The other may have left it out because it has another type
/// there, or could not be read.
Difference oneSided(Kind kind, const Job* before, const Job* after, const Job* leftOut) {
    if (leftOut == nullptr)
        return {kind, before, after};
    if (leftOut->problem)
        return {Kind::NotReadable, before, after, leftOut->problem->explanation};
    return {Kind::TypeChanged, before, after};
}

} // namespace

std::size_t Comparison::count(Kind kind) const {
    return static_cast<std::size_t>(std::count_if(differences.begin(), differences.end(),
                                                  [&](const Difference& d) { return d.kind == kind; }));
}

SameValue sameWithin(double tolerance) {
    return [=](const Value& one, const Value& other) {
        return isSame(one, other) || std::abs(realNumber(one) - realNumber(other)) <= tolerance;
    };
}

Comparison compare(const Snapshot& before, const Snapshot& after, const SameValue& same) {
    const Nodes beforeNodes(before.nodes);
    const Nodes afterNodes(after.nodes);
    const Nodes leftOutBefore(before.leftOut);
    const Nodes leftOutAfter(after.leftOut);
    Comparison result;
    result.complete = before.complete && after.complete;
    for (const Job& job : before.nodes) {
        const Job* const now = afterNodes.find(job);
        if (now == nullptr)
            result.differences.push_back(oneSided(Kind::Missing, &job, nullptr, leftOutAfter.find(job)));
        else if (job.node.dataType != now->node.dataType || job.value.shape != now->value.shape)
            result.differences.push_back({Kind::TypeChanged, &job, now});
        else if (!isSameWith(same, job.value, now->value))
            result.differences.push_back({Kind::Changed, &job, now});
        else
            ++result.equal;
    }
    for (const Job& job : after.nodes)
        if (beforeNodes.find(job) == nullptr)
            result.differences.push_back(oneSided(Kind::Added, nullptr, &job, leftOutBefore.find(job)));
    // What lies below such a node may look as if it were missing.
    for (const Job& job : after.leftOut)
        if (job.problem && beforeNodes.find(job) == nullptr && leftOutBefore.find(job) == nullptr)
            result.differences.push_back({Kind::NotReadable, nullptr, &job, job.problem->explanation});
    return result;
}

} // namespace opcua_cli
