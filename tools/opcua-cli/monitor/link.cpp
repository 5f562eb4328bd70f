#include "monitor/link.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "OpcUaHelpers.h"
#include "interrupt.h"
#include "monitor/watched.h"
#include "text/time_text.h"
#include "values/value_buffer.h"

namespace opcua_cli {
namespace {

constexpr std::chrono::duration<double> firstPause{0.5};
constexpr std::chrono::duration<double> longestPause{30};

/// Nodes handed to the library at a time: enough for its requests, few enough to notice Ctrl-C.
constexpr std::size_t itemsPerCall = 200;

std::string durationText(std::chrono::duration<double> duration) {
    return ageText(std::chrono::duration_cast<std::chrono::milliseconds>(duration));
}

} // namespace

const char* LinkEvent::name() const {
    switch (kind) {
    case Kind::Lost:
        return "lost";
    case Kind::NoAnswer:
        return "noAnswer";
    case Kind::Connected:
        return "connected";
    case Kind::ShuttingDown:
        return "shuttingDown";
    case Kind::Silent:
        return "outage";
    case Kind::Answers:
        return "outageOver";
    }
    return "";
}

Link::Link(const ConnectOptions& options, int intervalMilliseconds,
           Connection::DataChangeHandler onDataChange)
    : m_connection(options, std::move(onDataChange)), m_interval(intervalMilliseconds) {}

void Link::watch(Jobs& watched) {
    m_watched = &watched;
    subscribe();
}

void Link::subscribe() {
    const int code = m_connection.client().OpcUaCreateSubScription(m_interval);
    m_connection.throwIfLost(code);
    if (code != 0)
        throw Failure(ExitCode::Failed, m_connection.lastProblem());
    for (Job& watched : *m_watched) {
        watched.problem.reset();
        if (watched.index)
            addElement(watched);
    }
    addAll();
}

/// Those that are followed as a whole.
void Link::addAll() {
    std::vector<Job*> whole;
    for (Job& watched : *m_watched)
        if (!watched.index)
            whole.push_back(&watched);
    const std::size_t size = callSize(m_connection, Limited::MonitoredItems, whole.size(), itemsPerCall);
    for (std::size_t done = 0; done < whole.size(); done += size) {
        throwIfInterrupted();
        std::vector<OpcUaNode> records;
        for (std::size_t i = done; i < std::min(done + size, whole.size()); ++i)
            records.push_back(OpcUaMakeNode(whole[i]->node.nodeId, OpcUaDataType_Null));
        const int code =
            m_connection.client().OpcUaAddMultiMonitNode(records.data(), static_cast<int>(records.size()));
        m_connection.throwIfLost(code, records);
        for (std::size_t i = 0; i < records.size(); ++i)
            if (records[i].result != 0)
                whole[done + i]->problem = m_connection.problemOf(whole[done + i]->node.nodeId);
    }
}

void Link::addElement(Job& watched) {
    throwIfInterrupted();
    Index index = *watched.index;
    OpcUaNode record = OpcUaMakeNode(watched.node.nodeId, OpcUaDataType_Null);
    const int code =
        m_connection.client().OpcUaAddMonitNode(&record, index.data(), static_cast<int>(index.size()));
    m_connection.throwIfLost(code);
    if (code != 0)
        watched.problem = m_connection.problemOf(watched.node.nodeId);
}

std::optional<LinkEvent> Link::look() {
    throwIfInterrupted();
    if (m_up)
        return checkStatus();
    return Clock::now() < m_nextTry ? std::nullopt : tryAgain();
}

std::optional<LinkEvent> Link::checkStatus() {
    switch (m_connection.client().OpcUaGetConnectStatus()) {
    case OpcUaConnectStatus_Connected:
        return noteSilence(false);
    case OpcUaConnectStatus_Silent:
        return noteSilence(true);
    case OpcUaConnectStatus_ShuttingDown:
        m_isSilent = false;
        // The connection goes on until the server closes it.
        if (std::exchange(m_shutdownTold, true))
            return std::nullopt;
        return LinkEvent{LinkEvent::Kind::ShuttingDown, "the server is shutting down"};
    case OpcUaConnectStatus_NotPublishing:
        return lose("the server sends nothing any more");
    default:
        return lose("the connection to the server is lost");
    }
}

/// Session and subscription outlive an outage: the latest of what changes meanwhile is delivered afterwards.
std::optional<LinkEvent> Link::noteSilence(bool isSilent) {
    if (std::exchange(m_isSilent, isSilent) == isSilent)
        return std::nullopt;
    if (isSilent) {
        m_lostAt = Clock::now();
        return LinkEvent{LinkEvent::Kind::Silent, "the server does not answer; waiting for it"};
    }
    const Seconds outage = Clock::now() - m_lostAt;
    return LinkEvent{LinkEvent::Kind::Answers, "the server answers again after " + durationText(outage),
                     outage.count()};
}

LinkEvent Link::lose(const std::string& reason) {
    m_up = false;
    m_isSilent = false;
    m_lostAt = Clock::now();
    m_pause = firstPause;
    m_connection.client().OpcUaDisConnect();
    return waitForNextTry(LinkEvent::Kind::Lost, reason);
}

std::optional<LinkEvent> Link::tryAgain() {
    try {
        m_connection.reconnect();
        subscribe();
        throwIfNothingIsWatched();
    } catch (const Failure& failure) {
        throwIfInterrupted();
        m_connection.client().OpcUaDisConnect();
        m_pause = std::min(m_pause * 2, longestPause);
        return waitForNextTry(LinkEvent::Kind::NoAnswer, failure.problem().explanation);
    }
    m_up = true;
    m_shutdownTold = false;
    const Seconds outage = Clock::now() - m_lostAt;
    return LinkEvent{LinkEvent::Kind::Connected, "connected again after " + durationText(outage),
                     outage.count()};
}

/// A server may let clients in before it has loaded its nodes.
void Link::throwIfNothingIsWatched() const {
    if (std::all_of(m_watched->begin(), m_watched->end(),
                    [](const Job& job) { return job.problem.has_value(); }))
        throw nodeFailure("the server has none of the nodes");
}

LinkEvent Link::waitForNextTry(LinkEvent::Kind kind, const std::string& reason) {
    m_nextTry = Clock::now() + std::chrono::duration_cast<Clock::duration>(m_pause);
    return {kind, reason + "; trying again in " + durationText(m_pause), m_pause.count()};
}

std::optional<Value> Link::whileUp(const std::function<std::optional<Value>()>& read) const {
    if (!isUp())
        return std::nullopt;
    try {
        return read();
    } catch (const Failure&) {
        // Whether the connection is gone is found out by look().
        return std::nullopt;
    }
}

std::optional<Value> Link::readText(const std::string& nodeId) {
    return whileUp([&] { return readSingle(m_connection, nodeId, OpcUaDataType_Null); });
}

std::optional<Value> Link::readElement(const Job& watched, const Index& index) {
    return whileUp([&] {
        Jobs jobs(1);
        jobs.front().node = watched.node;
        jobs.front().index = index;
        read(m_connection, jobs, 1);
        const std::vector<Value>& elements = jobs.front().value.elements;
        return elements.empty() ? std::nullopt : std::optional(elements.front());
    });
}

/// A part of the elements would be written, or all of them to other places.
void Link::throwIfReshaped(const Job& job, std::size_t maxNodes) {
    const Shape shape = presentShape(m_connection, job.node.nodeId, maxNodes);
    if (shape == job.node.dimensions)
        return;
    const std::string now = shape.empty() ? "a single value" : indexText(shape);
    throw nodeFailure("the value is " + now + " by now, no more " + indexText(job.node.dimensions),
                      "monitor started anew");
}

std::optional<Problem> Link::write(const Job& job, std::size_t maxNodes) {
    if (!isUp())
        return Problem{"there is no connection to the server"};
    Jobs jobs{job};
    try {
        if (isWatchedWhole(job))
            throwIfReshaped(job, maxNodes);
        opcua_cli::write(m_connection, jobs, defaultMaxElements);
    } catch (const Failure& failure) {
        return failure.problem();
    }
    return jobs.front().problem;
}

} // namespace opcua_cli
