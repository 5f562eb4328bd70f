#include "node_access.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "../interrupt.h"
#include "../output/progress.h"

namespace opcua_cli {
namespace {

bool isSingle(const NodeInfo& node, const std::optional<Index>& index) {
    return !node.isArray && !index;
}

void throwIfTooLong(const NodeInfo& node, std::size_t maxElements) {
    if (node.dimensions.empty())
        throw Failure(ExitCode::Failed, {"the lengths of this array are not known", {}});
    if (elementCount(node.dimensions) > maxElements)
        throw Failure(ExitCode::Failed,
                      {"the value has the shape " + indexText(node.dimensions) + ", more than " +
                           std::to_string(maxElements) + " elements, and each costs a read of all of them",
                       "--index for one element, or a greater --max-elements"});
}

/// Does something for one node; what is only this node's problem becomes its result.
template <typename Work>
std::optional<Problem> problemOf(const Work& work) {
    throwIfInterrupted();
    try {
        work();
    } catch (const Failure& failure) {
        if (failure.exitCode() != ExitCode::Failed)
            throw;
        return failure.problem();
    }
    return std::nullopt;
}

Value elementAt(Connection& connection, const NodeInfo& node, const Index& index) {
    ReadResult result = readElement(connection, {node.nodeId, node.dataType}, index);
    if (result.resultCode == 0)
        return std::move(result.value);
    Problem problem = connection.lastProblem();
    problem.explanation += ": element " + indexText(index);
    throw Failure(ExitCode::Failed, std::move(problem));
}

NodeValue wholeArray(Connection& connection, const NodeInfo& node, std::size_t maxElements) {
    throwIfTooLong(node, maxElements);
    NodeValue value(node.dimensions, {});
    const std::size_t count = elementCount(node.dimensions);
    for (std::size_t i = 0; i < count; ++i) {
        throwIfInterrupted();
        value.elements.push_back(elementAt(connection, node, indexAt(i, node.dimensions)));
    }
    return value;
}

NodeValue readArray(Connection& connection, const NodeToRead& request, std::size_t maxElements) {
    if (!request.index)
        return wholeArray(connection, request.node, maxElements);
    throwIfOutside(*request.index, request.node.dimensions);
    return NodeValue(elementAt(connection, request.node, *request.index));
}

void writeOne(Connection& connection, const NodeInfo& node, const Value& value, const Index& index) {
    if (writeElement(connection, {node.nodeId, value}, index) == 0)
        return;
    Problem problem = connection.lastProblem();
    problem.explanation += ": element " + indexText(index) + " = " + toText(value);
    throw Failure(ExitCode::Failed, std::move(problem));
}

bool isPresent(const NodeToWrite& request, std::size_t place) {
    return request.present && isSame(request.present->elements[place], request.value.elements[place]);
}

void writeArray(Connection& connection, const NodeToWrite& request, std::size_t maxElements) {
    const Shape& shape = request.node.dimensions;
    if (request.index) {
        throwIfOutside(*request.index, shape);
        writeOne(connection, request.node, request.value.elements.front(), *request.index);
        return;
    }
    throwIfTooLong(request.node, maxElements);
    std::size_t written = 0;
    try {
        for (std::size_t i = 0; i < request.value.elements.size(); ++i) {
            throwIfInterrupted();
            if (isPresent(request, i))
                continue;
            writeOne(connection, request.node, request.value.elements[i], indexAt(i, shape));
            ++written;
        }
    } catch (const Failure& failure) {
        Problem problem = failure.problem();
        problem.explanation += "; elements written before: " + std::to_string(written);
        throw Failure(failure.exitCode(), std::move(problem));
    }
}

/// The places in the list of those that are single values.
template <typename Request>
std::vector<std::size_t> singles(const std::vector<Request>& requests) {
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        if (isSingle(requests[i].node, requests[i].index))
            places.push_back(i);
    }
    return places;
}

} // namespace

std::vector<NodeReading> readNodes(Connection& connection, const std::vector<NodeToRead>& nodes,
                                   std::size_t maxElements) {
    std::vector<NodeReading> readings(nodes.size());
    const std::vector<std::size_t> places = singles(nodes);
    std::vector<ReadItem> items;
    for (const std::size_t place : places)
        items.push_back({nodes[place].node.nodeId, nodes[place].node.dataType});
    std::vector<ReadResult> results = readMany(connection, items);
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (results[i].resultCode == 0)
            readings[places[i]].value = NodeValue(std::move(results[i].value));
        else
            readings[places[i]].problem = connection.lastProblem();
    }
    Progress progress("reading values");
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (isSingle(nodes[i].node, nodes[i].index))
            continue;
        progress.show(i);
        readings[i].problem =
            problemOf([&] { readings[i].value = readArray(connection, nodes[i], maxElements); });
    }
    return readings;
}

std::vector<std::optional<Problem>> writeNodes(Connection& connection, const std::vector<NodeToWrite>& nodes,
                                               std::size_t maxElements) {
    std::vector<std::optional<Problem>> problems(nodes.size());
    const std::vector<std::size_t> places = singles(nodes);
    std::vector<WriteItem> items;
    for (const std::size_t place : places)
        items.push_back({nodes[place].node.nodeId, nodes[place].value.elements.front()});
    const std::vector<int> results = writeMany(connection, items);
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (results[i] != 0)
            problems[places[i]] = connection.lastProblem();
    }
    Progress progress("writing values");
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (isSingle(nodes[i].node, nodes[i].index))
            continue;
        progress.show(i);
        problems[i] = problemOf([&] { writeArray(connection, nodes[i], maxElements); });
    }
    return problems;
}

} // namespace opcua_cli
