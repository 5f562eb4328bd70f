#include "output.h"

#include "../output/json.h"
#include "../output/streams.h"
#include "../text/time_text.h"
#include "../text/utf8.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace opcua_cli {
namespace {

constexpr const char* goodStatus = "Good";
constexpr const char* notReadableStatus = "NotReadable";

const char* statusName(const Change& change) {
    return change.readable ? goodStatus : notReadableStatus;
}

/// What came may have another type than what was there when the node was looked for.
_OpcUaDataType typeOf(const WatchedNode& watched, const Change& change) {
    const auto type = static_cast<_OpcUaDataType>(change.value.index());
    return type == OpcUaDataType_Null ? watched.node.dataType : type;
}

std::string idOf(const MonitoredNodes& monitored, std::size_t node) {
    return monitored.nodes[node].node.nodeId + indexText(monitored.index.value_or(Index{}));
}

Problem problemOf(const MonitoredNodes& monitored, std::size_t node, Problem problem) {
    problem.explanation = idOf(monitored, node) + ": " + problem.explanation;
    return problem;
}

std::string droppedText(std::size_t count) {
    return std::to_string(count) + " changes were dropped: they come faster than the output is read";
}

std::string silentText(const MonitoredNodes& monitored, const std::vector<std::size_t>& nodes) {
    constexpr std::size_t mostNames = 5;
    std::string text = "no value yet (only values of good status are delivered): ";
    for (std::size_t i = 0; i < std::min(nodes.size(), mostNames); ++i)
        text += (i == 0 ? "" : ", ") + idOf(monitored, nodes[i]);
    return nodes.size() > mostNames ? text + ", and " + std::to_string(nodes.size() - mostNames) + " more"
                                    : text;
}

/// One change a line, the fields with tabs in between; everything else goes to standard error.
class TextLines final : public MonitorOutput {
public:
    explicit TextLines(const MonitoredNodes& monitored) : m_monitored(monitored) {}

    void change(const Change& change) override {
        m_lines += utcText(change.time) + "\t" + printable(idOf(m_monitored, change.node)) + "\t" +
                   printable(valueText(change)) + "\t" + statusName(change) + "\n";
    }
    void refused(std::size_t node, const Problem& problem) override {
        reportProblem(problemOf(m_monitored, node, problem));
    }
    void leftOut(const Problem& problem) override { reportProblem(problem); }
    void silent(const std::vector<std::size_t>& nodes) override {
        reportNote(silentText(m_monitored, nodes));
    }
    void dropped(std::size_t count) override { reportNote(droppedText(count)); }
    void event(const LinkEvent& event) override {
        flush();
        reportNote(event.text);
    }
    void flush() override { writeOutput(std::exchange(m_lines, {})); }
    void end() override { flush(); }

private:
    std::string valueText(const Change& change) const {
        const WatchedNode& watched = m_monitored.nodes[change.node];
        return watched.wholeArray(m_monitored.index) ? "(" + watched.typeText(m_monitored.index) + ")"
                                                     : watched.valueText(change.value);
    }

    const MonitoredNodes& m_monitored;
    std::string m_lines;
};

const char* eventName(LinkEvent::Kind kind) {
    switch (kind) {
    case LinkEvent::Kind::Lost:
        return "lost";
    case LinkEvent::Kind::NoAnswer:
        return "noAnswer";
    case LinkEvent::Kind::Connected:
        return "connected";
    case LinkEvent::Kind::ShuttingDown:
        return "shuttingDown";
    }
    return "";
}

/// Everything is a document; what people should know goes to standard error, too.
class JsonLines final : public MonitorOutput {
public:
    explicit JsonLines(const MonitoredNodes& monitored) : m_monitored(monitored) {}

    void change(const Change& change) override {
        const WatchedNode& watched = m_monitored.nodes[change.node];
        Json json = start("value", change.time);
        json.update({{"nodeId", watched.node.nodeId},
                     {"index", m_monitored.index ? Json(*m_monitored.index) : Json()},
                     {"name", watched.name},
                     {"type", watched.readAsText() ? Json() : Json(typeName(typeOf(watched, change)))},
                     {"value", toJson(change.value)},
                     {"status", statusName(change)}});
        put(json);
    }
    void refused(std::size_t node, const Problem& problem) override {
        Json json = start("refused");
        json.update({{"nodeId", m_monitored.nodes[node].node.nodeId}, {"error", toJson(problem)}});
        put(json);
        reportProblem(problemOf(m_monitored, node, problem));
    }
    void leftOut(const Problem& problem) override {
        Json json = start("leftOut");
        json["error"] = toJson(problem);
        put(json);
        reportProblem(problem);
    }
    void silent(const std::vector<std::size_t>& nodes) override {
        Json ids = Json::array();
        for (const std::size_t node : nodes)
            ids.push_back(m_monitored.nodes[node].node.nodeId);
        Json json = start("silent");
        json["nodeIds"] = std::move(ids);
        put(json);
        reportNote(silentText(m_monitored, nodes));
    }
    void dropped(std::size_t count) override {
        Json json = start("dropped");
        json["count"] = count;
        put(json);
        reportNote(droppedText(count));
    }
    void event(const LinkEvent& event) override {
        Json json = start(eventName(event.kind));
        json.update({{"message", event.text}, {"seconds", event.seconds}});
        put(json);
        flush();
        reportNote(event.text);
    }
    void flush() override { writeOutput(std::exchange(m_lines, {})); }
    void end() override { flush(); }

private:
    static Json start(const char* event,
                      std::chrono::system_clock::time_point time = std::chrono::system_clock::now()) {
        return {{"event", event}, {"time", utcText(time)}};
    }
    void put(const Json& json) { m_lines += documentLine(json); }

    const MonitoredNodes& m_monitored;
    std::string m_lines;
};

} // namespace

std::unique_ptr<MonitorOutput> makeTextLines(const MonitoredNodes& monitored) {
    return std::make_unique<TextLines>(monitored);
}

std::unique_ptr<MonitorOutput> makeJsonLines(const MonitoredNodes& monitored) {
    return std::make_unique<JsonLines>(monitored);
}

} // namespace opcua_cli
