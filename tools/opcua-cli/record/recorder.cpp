#include "record/recorder.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "monitor/watched.h"
#include "output/streams.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

// A row with both is one that SQLite takes, also when each byte of the text has to be escaped.
constexpr std::size_t mostTextOfRow = 8 << 20;
constexpr std::size_t mostValueOfRow = 24 << 20;

std::string cutForRow(const std::string& text) {
    if (text.size() <= mostTextOfRow)
        return text;
    return std::string(withoutCutCharacter(std::string_view(text).substr(0, mostTextOfRow))) + "…";
}

} // namespace

Recorder::Recorder(const Monitored& monitored, Recording& recording, std::size_t& changes)
    : m_monitored(monitored), m_recording(recording), m_server(recording.node(monitored.url, "", "")),
      m_changes(changes) {
    recording.together([&] {
        for (const Job& watched : monitored.nodes)
            m_nodes.push_back(recording.node(monitored.url, watchedId(watched), watched.given));
    });
    note("started", m_server, "");
}

void Recorder::change(const Change& change) {
    const Job& watched = m_monitored.nodes[change.node];
    const auto type = static_cast<_OpcUaDataType>(change.value.index());
    const auto* text = std::get_if<std::string>(&change.value);
    const bool isTooLong = text != nullptr && text->size() > mostValueOfRow;
    const bool whole = isWatchedWhole(watched);
    m_recording.add(change.time, change.readable ? "value" : "notReadable", m_nodes[change.node],
                    whole || isReadAsText(watched) ? watchedType(watched) : std::string(typeName(type)),
                    isTooLong ? Value() : change.value,
                    cutForRow(text != nullptr ? *text : toText(change.value)));
    ++m_changes;
}

void Recorder::refused(std::size_t node) {
    const Problem& problem = *m_monitored.nodes[node].problem;
    note("refused", m_nodes[node], problem.explanation);
    reportProblem(namedProblem(watchedId(m_monitored.nodes[node]), problem));
}

void Recorder::leftOut(const Problem& problem) {
    note("leftOut", m_server, problem.explanation);
    reportProblem(problem);
}

void Recorder::dropped(std::size_t count) {
    const std::string text = std::to_string(count) + " changes came faster than they could be written";
    note("dropped", m_server, text);
    reportNote(text);
}

void Recorder::leftUnread(std::size_t count) {
    const std::string text = std::to_string(count) + " changes were not read any more before the end";
    note("leftUnread", m_server, text);
    reportNote(text);
}

void Recorder::event(const LinkEvent& event) {
    reportNote(event.text);
    // The gap goes on until the server answers.
    if (event.kind != LinkEvent::Kind::NoAnswer)
        note(event.name(), m_server, event.text);
}

void Recorder::end() {
    note("ended", m_server, "");
}

void Recorder::note(const char* event, std::int64_t node, const std::string& text) {
    m_recording.add(std::chrono::system_clock::now(), event, node, "", {}, cutForRow(text));
    m_recording.commitUnlessLocked();
}

} // namespace opcua_cli
