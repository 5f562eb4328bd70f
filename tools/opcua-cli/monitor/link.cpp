#include "link.h"

#include "../interrupt.h"
#include "../nodes/call_size.h"
#include "../text/time_text.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace opcua_cli {
namespace {

/// OpcUaGetConnectStatus()
enum ConnectStatus : int { Connected = 1, ServerShutDown = 4, SubscriptionEnded = 5 };

constexpr std::chrono::duration<double> firstPause{0.5};
constexpr std::chrono::duration<double> longestPause{30};

/// Nodes handed to the library at a time: enough for its requests, few enough to notice Ctrl-C.
constexpr std::size_t nodesPerCall = 200;

std::string durationText(std::chrono::duration<double> duration) {
    return ageText(std::chrono::duration_cast<std::chrono::milliseconds>(duration));
}

} // namespace

Link::Link(const ConnectOptions& options, int intervalMilliseconds, ChangeInbox& inbox)
    : m_connection(options, [&inbox](const _OpcUaDataChangeMsg& message) { inbox.take(message); }),
      m_interval(intervalMilliseconds) {}

void Link::watch(const std::vector<WatchedNode>& nodes, const std::optional<Index>& index) {
    m_nodes = &nodes;
    m_index = index;
    subscribe();
}

void Link::subscribe() {
    const int code = m_connection.client().OpcUaCreateSubScription(m_interval);
    m_connection.throwIfLost(code);
    if (code != 0)
        throw Failure(ExitCode::Failed, m_connection.lastProblem());
    m_refusals.assign(m_nodes->size(), std::nullopt);
    if (m_index)
        addElements();
    else
        addAll();
}

void Link::addAll() {
    const std::size_t size = callSize(m_connection, Limited::MonitoredItems, m_nodes->size(), nodesPerCall);
    for (std::size_t done = 0; done < m_nodes->size(); done += size) {
        throwIfInterrupted();
        std::vector<OpcUaNode> records;
        for (std::size_t i = done; i < std::min(done + size, m_nodes->size()); ++i)
            records.push_back(recordFor((*m_nodes)[i].node.nodeId));
        m_connection.throwIfLost(
            m_connection.client().OpcUaAddMultiMonitNode(records.data(), static_cast<int>(records.size())));
        for (std::size_t i = 0; i < records.size(); ++i)
            refuse(done + i, records[i].result);
    }
}

void Link::addElements() {
    Index index = *m_index;
    for (std::size_t i = 0; i < m_nodes->size(); ++i) {
        throwIfInterrupted();
        OpcUaNode record = recordFor((*m_nodes)[i].node.nodeId);
        refuse(i, m_connection.client().OpcUaAddMonitNode(&record, index.data(),
                                                          static_cast<int>(index.size())));
    }
}

void Link::refuse(std::size_t node, int resultCode) {
    if (resultCode == 0)
        return;
    m_connection.throwIfLost(resultCode);
    m_refusals[node] = m_connection.lastProblem();
}

std::optional<LinkEvent> Link::look() {
    throwIfInterrupted();
    if (m_up)
        return checkStatus();
    return Clock::now() < m_nextTry ? std::nullopt : tryAgain();
}

std::optional<LinkEvent> Link::checkStatus() {
    switch (m_connection.client().OpcUaGetConnectStatus()) {
    case Connected:
        return std::nullopt;
    case ServerShutDown:
        // The connection goes on until the server closes it.
        if (std::exchange(m_shutdownTold, true))
            return std::nullopt;
        return LinkEvent{LinkEvent::Kind::ShuttingDown, "the server is shutting down"};
    case SubscriptionEnded:
        return lose("the server sends nothing any more");
    default:
        return lose("the connection to the server is lost");
    }
}

LinkEvent Link::lose(const std::string& reason) {
    m_up = false;
    m_lostAt = Clock::now();
    m_pause = firstPause;
    m_connection.client().OpcUaDisConnect();
    return waitForNextTry(LinkEvent::Kind::Lost, reason);
}

std::optional<LinkEvent> Link::tryAgain() {
    try {
        m_connection.reconnect();
        subscribe();
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

LinkEvent Link::waitForNextTry(LinkEvent::Kind kind, const std::string& reason) {
    m_nextTry = Clock::now() + std::chrono::duration_cast<Clock::duration>(m_pause);
    return {kind, reason + "; trying again in " + durationText(m_pause), m_pause.count()};
}

std::optional<std::string> Link::readText(const WatchedNode& watched) {
    if (!m_up)
        return std::nullopt;
    try {
        const ReadResult result = m_connection.read(watched.node.nodeId, OpcUaDataType_Null);
        const auto* text = std::get_if<std::string>(&result.value);
        return result.resultCode == 0 && text != nullptr ? std::optional<std::string>(*text) : std::nullopt;
    } catch (const Failure&) {
        // Whether the connection is gone is found out by look().
        return std::nullopt;
    }
}

} // namespace opcua_cli
