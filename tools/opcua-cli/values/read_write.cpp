#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "OpcUaHelpers.h"
#include "interrupt.h"
#include "output/terminal.h"
#include "values/job.h"
#include "values/text_room.h"
#include "values/value_buffer.h"

namespace opcua_cli {
namespace {

/// Nodes of one call of the library, which asks the server for 20 of them at a time: a long job can be
/// interrupted between two calls.
constexpr std::size_t nodesPerCall = 500;

template <typename Request>
using Operation = int (COpcUaClientInterface::*)(Request*, int);

bool isSingle(const Job& job) {
    return !job.node.isArray && !job.index;
}

std::vector<Job*> singles(Jobs& jobs) {
    std::vector<Job*> found;
    for (Job& job : jobs)
        if (isSingle(job) && !job.problem)
            found.push_back(&job);
    return found;
}

/// Does something for each array and matrix, and for each element of one.
template <typename Work>
void forArrays(Jobs& jobs, const char* label, const Work& work) {
    Progress progress(label);
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (isSingle(jobs[i]) || jobs[i].problem)
            continue;
        throwIfInterrupted();
        progress.show(i);
        attempt(jobs[i], [&] { work(jobs[i]); });
    }
}

/// One call of the library for single values, with their buffers.
template <typename Request>
void call(Connection& connection, Operation<Request> operation, const std::vector<Job*>& jobs,
          std::vector<ValueBuffer>& buffers) {
    std::vector<OpcUaNode> records;
    for (std::size_t i = 0; i < jobs.size(); ++i)
        records.push_back(OpcUaMakeNode(jobs[i]->node.nodeId, buffers[i].recordType()));
    std::vector<Request> requests;
    for (std::size_t i = 0; i < jobs.size(); ++i)
        requests.push_back({&records[i], buffers[i].data(), buffers[i].size()});
    const int code = (connection.client().*operation)(requests.data(), static_cast<int>(requests.size()));
    connection.throwIfLost(code, records);
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        buffers[i].size() = requests[i].size;
        if (records[i].result != 0)
            jobs[i]->problem = connection.problemOf(jobs[i]->node.nodeId);
    }
}

/// Calls work(jobs) for as many jobs at a time as go into one call.
template <typename Work>
void inCalls(Connection& connection, Limited limited, const std::vector<Job*>& jobs, const Work& work) {
    const std::size_t size = callSize(connection, limited, jobs.size(), nodesPerCall);
    for (auto first = jobs.begin(); first != jobs.end();) {
        throwIfInterrupted();
        const auto end =
            first + std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(size), jobs.end() - first);
        work(std::vector<Job*>(first, end));
        first = end;
    }
}

void readSingles(Connection& connection, const std::vector<Job*>& jobs, TextRoom& room) {
    std::vector<ValueBuffer> buffers;
    for (const Job* job : jobs)
        buffers.emplace_back(job->node.dataType);
    call(connection, Operation<OpcUa_ReadNode>(&COpcUaClientInterface::OpcUaGetMultiValue), jobs, buffers);
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (jobs[i]->problem)
            continue;
        const std::optional<Value> value =
            buffers[i].holdsWhole() ? buffers[i].value()
                                    : readSingle(connection, jobs[i]->node.nodeId, jobs[i]->node.dataType);
        if (!value) {
            jobs[i]->problem = connection.lastProblem();
            continue;
        }
        attempt(*jobs[i], [&room, &read = *value, job = jobs[i]] {
            room.take(read);
            job->value = NodeValue(read);
        });
    }
}

void writeSingles(Connection& connection, const std::vector<Job*>& jobs) {
    std::vector<ValueBuffer> buffers;
    for (const Job* job : jobs)
        buffers.emplace_back(job->wanted.elements.front());
    call(connection, Operation<OpcUa_WriteNode>(&COpcUaClientInterface::OpcUaSetMultiValue), jobs, buffers);
}

void throwIfTooLong(const NodeInfo& node, std::size_t maxElements) {
    if (node.dimensions.empty())
        throw nodeFailure("the lengths of this array are not known");
    if (elementCount(node.dimensions) > maxElements)
        throw nodeFailure("the value has the shape " + indexText(node.dimensions) + ", more than " +
                              std::to_string(maxElements) + " elements, and each costs a read of all of them",
                          "--index for one element, or a greater --max-elements");
}

[[noreturn]] void refuseElement(Connection& connection, const std::string& element) {
    Problem problem = connection.lastProblem();
    problem.explanation += ": element " + element;
    throw Failure(ExitCode::Failed, std::move(problem));
}

Value readElement(Connection& connection, const NodeInfo& node, Index index) {
    const std::optional<Value> value = readGrowing(connection, node.dataType, [&](ValueBuffer& buffer) {
        OpcUaNode record = OpcUaMakeNode(node.nodeId, buffer.recordType());
        return connection.client().OpcUaGetArrayValue(&record, index.data(), static_cast<int>(index.size()),
                                                      buffer.data(), buffer.size());
    });
    if (!value)
        refuseElement(connection, indexText(index));
    return *value;
}

void writeElement(Connection& connection, const NodeInfo& node, const Value& value, Index index) {
    ValueBuffer buffer(value);
    OpcUaNode record = OpcUaMakeNode(node.nodeId, buffer.recordType());
    const int code = connection.client().OpcUaSetArrayValue(
        &record, index.data(), static_cast<int>(index.size()), buffer.data(), buffer.size());
    connection.throwIfLost(code);
    if (code != 0)
        refuseElement(connection, indexText(index) + " = " + toText(value));
}

NodeValue readArray(Connection& connection, const Job& job, std::size_t maxElements, TextRoom& room) {
    const Shape& shape = job.node.dimensions;
    if (job.index) {
        throwIfOutside(*job.index, shape);
        Value element = readElement(connection, job.node, *job.index);
        room.take(element);
        return NodeValue(std::move(element));
    }
    throwIfTooLong(job.node, maxElements);
    NodeValue value(shape, {});
    const std::size_t count = elementCount(shape);
    TextRoom left = room; // an array that has none takes none
    for (std::size_t i = 0; i < count; ++i) {
        throwIfInterrupted();
        value.elements.push_back(readElement(connection, job.node, indexAt(i, shape)));
        left.take(value.elements.back());
    }
    room = left;
    return value;
}

void writeWholeArray(Connection& connection, const Job& job) {
    const std::vector<Value>& present = job.value.elements;
    std::size_t written = 0;
    try {
        for (std::size_t i = 0; i < job.wanted.elements.size(); ++i) {
            throwIfInterrupted();
            const Value& element = job.wanted.elements[i];
            if (i < present.size() && isSame(present[i], element))
                continue;
            writeElement(connection, job.node, element, indexAt(i, job.node.dimensions));
            ++written;
        }
    } catch (const Failure& failure) {
        Problem problem = failure.problem();
        problem.explanation += "; elements written before: " + std::to_string(written);
        throw Failure(failure.exitCode(), std::move(problem));
    }
}

void writeArray(Connection& connection, const Job& job, std::size_t maxElements) {
    if (job.index) {
        throwIfOutside(*job.index, job.node.dimensions);
        writeElement(connection, job.node, job.wanted.elements.front(), *job.index);
        return;
    }
    throwIfTooLong(job.node, maxElements);
    writeWholeArray(connection, job);
}

/// OPC UA Part 5, 6.3.11.
const char* limitId(Limited limited) {
    switch (limited) {
    case Limited::Reads:
        return "i=11705";
    case Limited::Writes:
        return "i=11707";
    case Limited::MonitoredItems:
        break;
    }
    return "i=11714";
}

} // namespace

std::size_t callSize(Connection& connection, Limited limited, std::size_t count, std::size_t usual) {
    constexpr std::size_t nodesPerRequest = 20;
    if (count < 2)
        return usual;
    const Value value = readSingle(connection, limitId(limited), OpcUaDataType_UInt32).value_or(Value());
    const auto* limit = std::get_if<std::uint32_t>(&value);
    return limit != nullptr && *limit > 0 && *limit < nodesPerRequest ? *limit : usual;
}

void read(Connection& connection, Jobs& jobs, std::size_t maxElements, std::size_t mostTextBytes) {
    TextRoom room(mostTextBytes);
    inCalls(connection, Limited::Reads, singles(jobs),
            [&](const std::vector<Job*>& some) { readSingles(connection, some, room); });
    forArrays(jobs, "reading values",
              [&](Job& job) { job.value = readArray(connection, job, maxElements, room); });
}

void write(Connection& connection, Jobs& jobs, std::size_t maxElements) {
    std::vector<Job*> differing = singles(jobs);
    differing.erase(std::remove_if(differing.begin(), differing.end(),
                                   [](const Job* job) { return isSame(job->value, job->wanted); }),
                    differing.end());
    inCalls(connection, Limited::Writes, differing,
            [&](const std::vector<Job*>& some) { writeSingles(connection, some); });
    forArrays(jobs, "writing values", [&](Job& job) { writeArray(connection, job, maxElements); });
}

std::vector<std::optional<Problem>> unreadable(Connection& connection,
                                               const std::vector<std::string>& nodeIds) {
    Jobs probes;
    std::vector<std::optional<Problem>> problems;
    for (const std::string& id : nodeIds) {
        Job probe;
        // Any type will do, the value is not wanted.
        probe.node = unmetNode(id, OpcUaDataType_Boolean);
        if (id.empty())
            probe.problem.emplace();
        probes.push_back(std::move(probe));
    }
    read(connection, probes, 0);
    for (std::size_t i = 0; i < probes.size(); ++i)
        problems.push_back(nodeIds[i].empty() ? std::nullopt : std::move(probes[i].problem));
    return problems;
}

} // namespace opcua_cli
