#include <chrono>
#include <cstddef>
#include <optional>
#include <utility>

#include "monitor/live_table.h"
#include "monitor/watched.h"

namespace opcua_cli {

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
    // Not its problem: that is of no interest here, and the thread that looks after the connection changes
    // it.
    const Job& watched = m_monitored.nodes[*node];
    Job target = jobFor(watched.node);
    target.given = watched.given;
    target.index = watched.index;
    target.node.dataType = deliveredType(target, m_rows[*node].last.value);
    if (!m_writing.empty())
        m_message = Cell("still writing: " + m_writing);
    else if (target.node.dataType == OpcUaDataType_Null)
        m_message = Cell("a value of this type cannot be written here", Tone::Bad);
    else
        m_dialogue.emplace(*node, std::move(target));
}

} // namespace opcua_cli
