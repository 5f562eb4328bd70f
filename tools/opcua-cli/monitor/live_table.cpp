#include "monitor/live_table.h"

#include "monitor/watched.h"
#include "output/streams.h"
#include "output/table.h"
#include "text/drawing.h"
#include "text/time_text.h"
#include "text/utf8.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <variant>

namespace opcua_cli {
namespace {

constexpr std::size_t mostRemarks = 3;
constexpr std::size_t widestSteadyValue = 24;
constexpr std::chrono::milliseconds leastTimeBetweenDrawings{200};

/// More digits than a person can follow would only make the column flicker.
std::string shortText(const Job& watched, const Value& value) {
    const bool real = std::holds_alternative<double>(value) || std::holds_alternative<float>(value);
    const std::optional<double> number = trendNumber(value);
    if (!real || !number)
        return watchedValue(watched, value);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.7g", *number);
    return text.data();
}

/// What is left of the line beside names and values.
std::size_t trendWidth(const Terminal& terminal) {
    constexpr std::size_t narrowest = 50;
    const std::size_t width = terminal.width.value_or(0);
    return width < narrowest ? 0 : std::min((width - narrowest) / 3 + 8, Trend::mostValues);
}

std::string countText(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string firstLines(const std::string& text, std::size_t count) {
    std::size_t end = 0;
    for (std::size_t i = 0; i < count && end < text.size(); ++i)
        end = text.find('\n', end) + 1;
    return text.substr(0, end);
}

} // namespace

LiveTable::LiveTable(const Monitored& monitored) : m_monitored(monitored), m_rows(monitored.nodes.size()) {}

void LiveTable::change(const Change& change) {
    Row& row = m_rows[change.node];
    row.last = change;
    row.refused = false;
    row.changed = true;
    row.trend.add(change.value);
    ++m_changes;
    m_valueWidth = std::max(
        m_valueWidth, std::min(displayWidth(printable(valueCell(change.node).text)), widestSteadyValue));
}

void LiveTable::refused(std::size_t node) {
    const Job& watched = m_monitored.nodes[node];
    m_rows[node].refused = true;
    m_problems.push_back(namedProblem(watched.node.nodeId, *watched.problem));
}

void LiveTable::leftOut(const Problem& problem) {
    remark(problem.explanation);
    m_problems.push_back(problem);
}

void LiveTable::dropped(std::size_t count) {
    remark(countText(count, "change") + " dropped: more than can be shown");
}

void LiveTable::event(const LinkEvent& event) {
    m_up = event.kind == LinkEvent::Kind::Connected || event.kind == LinkEvent::Kind::ShuttingDown;
    m_state = event.text;
    m_stateTone = event.kind == LinkEvent::Kind::Connected ? Tone::Good : Tone::Bad;
}

void LiveTable::remark(const std::string& text) {
    m_remarks.push_back(printable(text));
    if (m_remarks.size() > mostRemarks)
        m_remarks.pop_front();
}

void LiveTable::flush() {
    const auto now = std::chrono::steady_clock::now();
    if (now - m_drawn < leastTimeBetweenDrawings)
        return;
    m_drawn = now;
    if (!m_screen)
        m_screen = std::make_unique<LiveScreen>();
    m_screen->draw(frame());
}

void LiveTable::end() {
    m_screen.reset();
    writeOutput(frame());
    for (const Problem& problem : m_problems)
        reportProblem(problem);
}

std::string LiveTable::frame() {
    return draw(terminalOn(STDOUT_FILENO), std::chrono::system_clock::now());
}

std::string LiveTable::draw(const Terminal& terminal, Time now) {
    const std::size_t width = terminal.width.value_or(0);
    const std::size_t height = terminal.height.value_or(0);
    const std::size_t frame = 2 + m_remarks.size(); // state, headings, remarks
    const std::size_t room = height > frame + 1 ? height - frame : 1;
    const bool all = m_rows.size() <= room;
    const std::size_t shown = all ? m_rows.size() : room - 1;

    std::string text = heading(terminal) + rows(terminal, shown, now);
    if (!all)
        text +=
            terminal.paint(cutToWidth(drawing().dots + (" " + countText(m_rows.size() - shown, "more node")) +
                                          ": a higher window shows them, or --json",
                                      width),
                           Tone::Faint) +
            "\n";
    for (const std::string& remark : m_remarks)
        text += terminal.paint(cutToWidth(remark, width), Tone::Bad) + "\n";
    return firstLines(text, height);
}

std::string LiveTable::heading(const Terminal& terminal) const {
    const std::size_t width = terminal.width.value_or(0);
    const std::string state = cutToWidth(printable(m_state), width);
    const std::size_t left = width - std::min(width, displayWidth(state));
    const std::string rest =
        cutToWidth("  " + printable(m_monitored.url) + "  " + countText(m_rows.size(), "node") + ", " +
                       countText(m_changes, "change") + "  Ctrl-C ends",
                   left);
    return terminal.paint(state, m_stateTone) + terminal.paint(rest, Tone::Faint) + "\n";
}

std::string LiveTable::rows(const Terminal& terminal, std::size_t count, Time now) {
    Table table(
        {{"Name"}, {"Value", true, false, m_valueWidth}, {"Type"}, {"Age", false, true}, {"Trend", false}});
    for (std::size_t i = 0; i < count; ++i) {
        const Row& row = m_rows[i];
        const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(now - row.last.time);
        table.add({m_monitored.nodes[i].given, valueCell(i), typeOf(i), row.changed ? ageText(age) : "-",
                   row.trend.draw(trendWidth(terminal))});
    }
    return table.render(terminal);
}

Cell LiveTable::valueCell(std::size_t node) const {
    const Row& row = m_rows[node];
    if (row.refused)
        return {"cannot be monitored", Tone::Bad};
    if (!row.changed)
        return {"no good value yet", Tone::Faint};
    if (!row.last.readable)
        return {"not readable", Tone::Bad};
    const Job& watched = m_monitored.nodes[node];
    const Tone tone = m_up ? Tone::Plain : Tone::Faint;
    if (isWatchedWhole(watched))
        return {"changed", tone};
    return {shortText(watched, row.last.value), tone};
}

std::string LiveTable::typeOf(std::size_t node) const {
    const auto type = static_cast<_OpcUaDataType>(m_rows[node].last.value.index());
    const Job& watched = m_monitored.nodes[node];
    return type == OpcUaDataType_Null || isReadAsText(watched) ? watchedType(watched)
                                                               : std::string(typeName(type));
}

std::unique_ptr<MonitorOutput> makeLiveTable(const Monitored& monitored) {
    return std::make_unique<LiveTable>(monitored);
}

} // namespace opcua_cli
