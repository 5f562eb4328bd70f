#include "monitor/live_table.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>

#include "monitor/watched.h"
#include "output/streams.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

constexpr std::size_t mostRemarks = 3;
constexpr std::chrono::seconds betweenReadings{1};

} // namespace

LiveTable::LiveTable(const Monitored& monitored, bool withKeys)
    : m_monitored(monitored), m_withKeys(withKeys), m_rows(monitored.nodes.size()), m_view(monitored) {}

void LiveTable::change(const Change& change) {
    const Lock lock(m_mutex);
    Row& row = m_rows[change.node];
    // A text may be as long as a message, and there may be many of them.
    row.last = {change.node, beginningOf(change.value), change.cut, change.readable, change.time};
    row.refusal.reset();
    row.changed = true;
    row.unread = isWatchedWhole(m_monitored.nodes[change.node]);
    row.trend.add(change.value);
    ++m_changes;
    widenFor(change.node);
}

void LiveTable::refused(std::size_t node) {
    const Lock lock(m_mutex);
    const Job& watched = m_monitored.nodes[node];
    m_rows[node].refusal = namedProblem(watched.node.nodeId, *watched.problem);
}

void LiveTable::leftOut(const Problem& problem) {
    const Lock lock(m_mutex);
    remark(problem.explanation);
    m_leftOut.push_back(problem);
}

void LiveTable::dropped(std::size_t count) {
    const Lock lock(m_mutex);
    remark("changes dropped, more than can be shown: " + std::to_string(count));
}

void LiveTable::leftUnread(std::size_t count) {
    const Lock lock(m_mutex);
    remark("changes that were not read any more: " + std::to_string(count));
}

void LiveTable::event(const LinkEvent& event) {
    const Lock lock(m_mutex);
    const bool isGood = event.kind == LinkEvent::Kind::Connected || event.kind == LinkEvent::Kind::Answers;
    m_up = isGood || event.kind == LinkEvent::Kind::ShuttingDown;
    m_state = event.text;
    m_stateTone = isGood ? Tone::Good : Tone::Bad;
    if (event.kind == LinkEvent::Kind::Connected)
        forgetRefusals();
    if (isGood)
        readArraysAgain();
}

/// Those of the connection that was before.
void LiveTable::forgetRefusals() {
    for (Row& row : m_rows)
        row.refusal.reset();
}

/// What was read as the outage began may have failed or be a part only.
void LiveTable::readArraysAgain() {
    for (std::size_t node = 0; node < m_rows.size(); ++node)
        if (m_rows[node].changed && isWatchedWhole(m_monitored.nodes[node]))
            m_rows[node].unread = true;
}

void LiveTable::remark(const std::string& text) {
    m_remarks.push_back(printable(text));
    if (m_remarks.size() > mostRemarks)
        m_remarks.pop_front();
}

void LiveTable::flush() {
    if (!m_screen)
        m_screen = std::make_unique<ScreenThread>([this] { return frame(); },
                                                  m_withKeys ? [this](int key) { press(key); }
                                                             : ScreenThread::KeyHandler());
    m_screen->throwIfFailed();
}

void LiveTable::end() {
    m_screen.reset();
    m_withKeys = false;
    m_still.reset();
    writeOutput(frame());
    for (const Problem& problem : m_leftOut)
        reportProblem(problem);
    for (const Row& row : m_rows)
        if (row.refusal)
            reportProblem(*row.refusal);
}

bool LiveTable::isEnded() {
    const Lock lock(m_mutex);
    return m_isEnded;
}

std::optional<std::size_t> LiveTable::arrayToRead(Clock::time_point now) {
    const Lock lock(m_mutex);
    std::optional<std::size_t> longestUnread;
    for (const std::size_t node : m_onScreen) {
        const Row& row = m_rows[node];
        const bool isDue = row.unread && now - row.readAt >= betweenReadings &&
                           !m_monitored.nodes[node].node.dimensions.empty();
        if (isDue && (!longestUnread || row.readAt < m_rows[*longestUnread].readAt))
            longestUnread = node;
    }
    if (longestUnread) {
        m_rows[*longestUnread].unread = false;
        m_rows[*longestUnread].readAt = now;
    }
    return longestUnread;
}

void LiveTable::arrayRead(std::size_t node, const std::optional<std::string>& elements) {
    const Lock lock(m_mutex);
    m_rows[node].last.readable = elements.has_value();
    m_rows[node].elements = beginningOf(elements.value_or(""));
    widenFor(node);
}

std::optional<Job> LiveTable::valueToWrite() {
    const Lock lock(m_mutex);
    return std::exchange(m_toWrite, std::nullopt);
}

void LiveTable::written(const std::optional<Problem>& problem) {
    const Lock lock(m_mutex);
    const std::string what = std::exchange(m_writing, {});
    m_message = problem ? Cell("not written: " + problem->explanation + ": " + what, Tone::Bad)
                        : Cell("written: " + what, Tone::Good);
}

std::string LiveTable::frame() {
    return draw(terminalOn(STDOUT_FILENO), std::chrono::system_clock::now());
}

std::unique_ptr<MonitorOutput> makeLiveTable(const Monitored& monitored) {
    return std::make_unique<LiveTable>(monitored, isatty(STDIN_FILENO) == 1);
}

} // namespace opcua_cli
