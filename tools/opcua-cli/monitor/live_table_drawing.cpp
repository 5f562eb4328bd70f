#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <numeric>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "monitor/live_table.h"
#include "monitor/watched.h"
#include "text/ascii.h"
#include "text/drawing.h"
#include "text/time_text.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

constexpr std::size_t widestSteadyValue = 24;
constexpr std::size_t narrowestWithTrend = 50; // and with types

constexpr const char* helpText = R"(up, down    select a row
PgUp, PgDn  a screen at a time
Home, End   the first, the last row
/           filter by name or id
Esc         all rows again
s           sort: as given, by name, by
            value, by latest change
p, space    stop, and go on: changes are
            counted meanwhile
w           write the selected value;
            Esc gives up
?           this; any key goes back
q, Ctrl-C   end
)";

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
std::size_t trendWidth(std::size_t width) {
    return width < narrowestWithTrend ? 0 : std::min((width - narrowestWithTrend) / 3 + 8, Trend::mostValues);
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

std::string typeCell(const Row& row, const Job& watched) {
    const bool known = row.last.value.index() != OpcUaDataType_Null && !isReadAsText(watched);
    return known ? std::string(typeName(deliveredType(watched, row.last.value))) : watchedType(watched);
}

} // namespace

void LiveTable::widenFor(std::size_t node) {
    const std::size_t width = displayWidth(printable(valueCell(m_rows[node], m_monitored.nodes[node]).text));
    m_valueWidth = std::max(m_valueWidth, std::min(width, widestSteadyValue));
}

std::string LiveTable::draw(const Terminal& terminal, Time now) {
    const Lock lock(m_mutex);
    const std::string text = m_withKeys ? withKeys(terminal, now) : withoutKeys(terminal, now);
    const std::string fitting = firstLines(text, terminal.height.value_or(0));
    return terminal.utf8 ? fitting : asciiText(fitting);
}

std::string LiveTable::withoutKeys(const Terminal& terminal, Time now) {
    const std::size_t width = terminal.width.value_or(0);
    const std::size_t height = terminal.height.value_or(0);
    const std::size_t frame = 2 + m_remarks.size(); // state, headings, remarks
    const std::size_t room = height > frame + 1 ? height - frame : 1;
    const bool all = m_rows.size() <= room;
    m_onScreen.resize(all ? m_rows.size() : room - 1);
    std::iota(m_onScreen.begin(), m_onScreen.end(), std::size_t{0});

    std::string text = heading(terminal, printable(m_monitored.url) + "  " + countsText() + "  Ctrl-C ends") +
                       table(terminal, m_onScreen, now);
    if (!all) {
        const std::string more = countText(m_rows.size() - m_onScreen.size(), "more node");
        const std::string note = drawing().dots + (" " + more) + ": a higher window shows them, or --json";
        text += terminal.paint(cutToWidth(note, width), Tone::Faint) + "\n";
    }
    return text + remarks(terminal);
}

std::string LiveTable::withKeys(const Terminal& terminal, Time now) {
    const std::string head = heading(terminal, countsText() + "  " + printable(m_monitored.url));
    if (m_showsHelp)
        return head + helpText;
    const std::size_t height = terminal.height.value_or(0);
    const std::size_t frame = 2 + m_remarks.size() + (m_dialogue ? 2 : 1); // state, headings, remarks, bottom
    m_onScreen = m_view.window(shownRows(), height > frame ? height - frame : 1);
    return head + table(terminal, m_onScreen, m_still ? m_still->time : now) + remarks(terminal) +
           bottom(terminal);
}

std::string LiveTable::heading(const Terminal& terminal, const std::string& rest) const {
    const std::size_t width = terminal.width.value_or(0);
    const std::string state = cutToWidth(printable(m_state), width);
    const std::size_t left = width - std::min(width, displayWidth(state));
    return terminal.paint(state, m_stateTone) + terminal.paint(cutToWidth("  " + rest, left), Tone::Faint) +
           "\n";
}

std::string LiveTable::countsText() const {
    return countText(m_rows.size(), "node") + ", " +
           countText(m_still ? m_still->changes : m_changes, "change");
}

std::string LiveTable::remarks(const Terminal& terminal) const {
    std::string text;
    for (const std::string& remark : m_remarks)
        text += terminal.paint(cutToWidth(remark, terminal.width.value_or(0)), Tone::Bad) + "\n";
    return text;
}

std::string LiveTable::bottom(const Terminal& terminal) {
    const std::size_t width = terminal.width.value_or(0);
    if (m_dialogue)
        return m_dialogue->situation(presentText(m_dialogue->node()), width) + "\n" +
               m_dialogue->question(width) + "\n";
    if (m_filterInput)
        return inputLine("filter: ", m_filterInput->text(), width) + "\n";
    if (!m_message.text.empty())
        return terminal.paint(cutToWidth(printable(m_message.text), width), m_message.tone) + "\n";
    return cutToWidth(status(), width) + "\n";
}

std::string LiveTable::status() const {
    std::string text;
    if (m_still)
        text += "paused: " + std::to_string(m_changes - m_still->changes) + " new  ";
    if (!m_view.filter().empty())
        text += "filter: " + printable(m_view.filter()) + "  ";
    if (*m_view.sortName() != '\0')
        text += std::string("sort: ") + m_view.sortName() + "  ";
    if (m_onScreen.size() < m_rows.size())
        text += (m_onScreen.empty() ? "no rows"
                                    : "rows " + std::to_string(m_view.first() + 1) + "-" +
                                          std::to_string(m_view.first() + m_onScreen.size())) +
                " of " + std::to_string(m_view.count()) + "  ";
    return text + "? keys";
}

std::string LiveTable::table(const Terminal& terminal, const std::vector<std::size_t>& nodes, Time now) {
    const std::size_t width = terminal.width.value_or(0);
    Table table({{"", false},
                 {"Name"},
                 {"Value", true, false, m_valueWidth},
                 {"Type"},
                 {"Age", false, true},
                 {"Trend", false}});
    for (const std::size_t node : nodes) {
        const Row& row = shownRows()[node];
        const Job& watched = m_monitored.nodes[node];
        const bool isSelected = m_withKeys && m_view.selected() == node;
        const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(now - row.last.time);
        table.add({isSelected ? Cell(">", Tone::Heading) : Cell(""),
                   {watched.given, isSelected ? Tone::Heading : Tone::Plain},
                   valueCell(row, watched),
                   width < narrowestWithTrend ? "" : typeCell(row, watched),
                   row.changed ? ageText(age) : "-",
                   row.trend.draw(trendWidth(width))});
    }
    return table.render(terminal);
}

Cell LiveTable::valueCell(const Row& row, const Job& watched) const {
    if (row.refusal)
        return {"cannot be monitored", Tone::Bad};
    if (!row.changed)
        return {"no good value yet", Tone::Faint};
    if (!row.last.readable)
        return {"not readable", Tone::Bad};
    const Tone tone = m_up ? Tone::Plain : Tone::Faint;
    if (isWatchedWhole(watched))
        return {row.elements.empty() ? "changed" : row.elements, tone};
    return {shortText(watched, row.last.value), tone};
}

/// All digits.
std::string LiveTable::presentText(std::size_t node) const {
    const Row& row = m_rows[node];
    const Job& watched = m_monitored.nodes[node];
    const bool isSingle = row.changed && !row.refusal && row.last.readable && !isWatchedWhole(watched);
    return isSingle ? watchedValue(watched, row.last.value) : valueCell(row, watched).text;
}

} // namespace opcua_cli
