#include "monitor/live_table.h"

#include "monitor/watched.h"
#include "output/streams.h"
#include "text/ascii.h"
#include "text/time_text.h"
#include "text/utf8.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <variant>
#include <vector>

namespace opcua_cli {
namespace {

constexpr std::size_t mostRemarks = 3;
constexpr std::size_t widestSteadyValue = 24;
constexpr std::chrono::seconds betweenReadings{1};
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

/// What came may have another type than what was there when the node was looked for.
_OpcUaDataType typeOf(const Row& row, const Job& watched) {
    const auto type = static_cast<_OpcUaDataType>(row.last.value.index());
    return type == OpcUaDataType_Null || isReadAsText(watched) ? watched.node.dataType : type;
}

std::string typeCell(const Row& row, const Job& watched) {
    const bool known = row.last.value.index() != OpcUaDataType_Null && !isReadAsText(watched);
    return known ? std::string(typeName(typeOf(row, watched))) : watchedType(watched);
}

} // namespace

LiveTable::LiveTable(const Monitored& monitored, bool withKeys)
    : m_monitored(monitored), m_withKeys(withKeys), m_rows(monitored.nodes.size()), m_view(monitored) {}

void LiveTable::change(const Change& change) {
    const Lock lock(m_mutex);
    Row& row = m_rows[change.node];
    row.last = change;
    row.refused = false;
    row.changed = true;
    row.unread = isWatchedWhole(m_monitored.nodes[change.node]);
    row.trend.add(change.value);
    ++m_changes;
    widenFor(change.node);
}

void LiveTable::refused(std::size_t node) {
    const Lock lock(m_mutex);
    const Job& watched = m_monitored.nodes[node];
    m_rows[node].refused = true;
    m_problems.push_back(namedProblem(watched.node.nodeId, *watched.problem));
}

void LiveTable::leftOut(const Problem& problem) {
    const Lock lock(m_mutex);
    remark(problem.explanation);
    m_problems.push_back(problem);
}

void LiveTable::dropped(std::size_t count) {
    const Lock lock(m_mutex);
    remark(countText(count, "change") + " dropped: more than can be shown");
}

void LiveTable::event(const LinkEvent& event) {
    const Lock lock(m_mutex);
    m_up = event.kind == LinkEvent::Kind::Connected || event.kind == LinkEvent::Kind::ShuttingDown;
    m_state = event.text;
    m_stateTone = event.kind == LinkEvent::Kind::Connected ? Tone::Good : Tone::Bad;
}

void LiveTable::remark(const std::string& text) {
    m_remarks.push_back(printable(text));
    if (m_remarks.size() > mostRemarks)
        m_remarks.pop_front();
}

void LiveTable::widenFor(std::size_t node) {
    const std::size_t width = displayWidth(printable(valueCell(m_rows[node], m_monitored.nodes[node]).text));
    m_valueWidth = std::max(m_valueWidth, std::min(width, widestSteadyValue));
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
    for (const Problem& problem : m_problems)
        reportProblem(problem);
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
    m_rows[node].elements = elements.value_or("");
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
    if (!all)
        text += terminal.paint(cutToWidth("… " + countText(m_rows.size() - m_onScreen.size(), "more node") +
                                              ": a higher window shows them, or --json",
                                          width),
                               Tone::Faint) +
                "\n";
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
    if (row.refused)
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
    const bool isSingle = row.changed && !row.refused && row.last.readable && !isWatchedWhole(watched);
    return isSingle ? watchedValue(watched, row.last.value) : valueCell(row, watched).text;
}

void LiveTable::press(int key) {
    const Lock lock(m_mutex);
    if (m_dialogue)
        pressInDialogue(key);
    else if (m_filterInput)
        pressInFilter(key);
    else if (!std::exchange(m_showsHelp, false))
        pressInTable(key);
}

void LiveTable::pressInFilter(int key) {
    m_filterInput->press(key);
    m_view.filterBy(key == KeyEscape ? "" : m_filterInput->text());
    if (key == KeyEscape || key == KeyEnter)
        m_filterInput.reset();
}

void LiveTable::pressInDialogue(int key) {
    m_dialogue->press(key);
    const bool isConfirmed = m_dialogue->state() == WriteDialogue::State::Confirmed;
    if (!isConfirmed && m_dialogue->state() != WriteDialogue::State::GivenUp)
        return;
    if (isConfirmed) {
        m_toWrite = m_dialogue->job();
        m_writing = m_toWrite->given + " = " + toText(m_toWrite->wanted);
    }
    m_message = Cell(isConfirmed ? "writing: " + m_writing : "nothing was written");
    m_dialogue.reset();
}

void LiveTable::pressInTable(int key) {
    m_message = Cell("");
    switch (key) {
    case '/':
        m_filterInput.emplace();
        m_view.filterBy("");
        break;
    case KeyEscape:
        m_view.filterBy("");
        break;
    case 's':
        m_view.sortByNext();
        break;
    case 'p':
    case ' ':
        pause();
        break;
    case 'w':
        beginToWrite();
        break;
    case '?':
        m_showsHelp = true;
        break;
    case 'q':
        m_isEnded = true;
        m_message = Cell("ending: the session is being closed");
        break;
    default:
        m_view.move(key);
    }
}

void LiveTable::pause() {
    if (m_still)
        m_still.reset();
    else
        m_still = Still{m_rows, m_changes, std::chrono::system_clock::now()};
}

void LiveTable::beginToWrite() {
    const std::optional<std::size_t> node = m_view.selected();
    if (!node)
        return;
    Job target = m_monitored.nodes[*node];
    target.node.dataType = typeOf(m_rows[*node], target);
    if (!m_writing.empty())
        m_message = Cell("still writing: " + m_writing);
    else if (target.node.dataType == OpcUaDataType_Null)
        m_message = Cell("a value of this type cannot be written here", Tone::Bad);
    else
        m_dialogue.emplace(*node, std::move(target));
}

std::unique_ptr<MonitorOutput> makeLiveTable(const Monitored& monitored) {
    return std::make_unique<LiveTable>(monitored, isatty(STDIN_FILENO) == 1);
}

} // namespace opcua_cli
