#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "formats/csv.h"
#include "formats/job_csv.h"
#include "monitor/output.h"
#include "monitor/watched.h"
#include "output/json.h"
#include "output/streams.h"
#include "text/time_text.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

const char* statusName(const Change& change) {
    return change.readable ? "Good" : "NotReadable";
}

/// One change a line, the fields with tabs in between; everything else goes to standard error.
class TextLines : public MonitorOutput {
public:
    explicit TextLines(const Monitored& monitored) : m_monitored(monitored) {}

    void change(const Change& change) override {
        const Job& watched = job(change.node);
        const std::string value =
            isWatchedWhole(watched) ? "(" + watchedType(watched) + ")" : watchedValue(watched, change.value);
        put(utcText(change.time) + "\t" + printable(watchedId(watched)) + "\t" + printable(value) + "\t" +
            statusName(change) + "\n");
    }
    void refused(std::size_t node) override {
        reportProblem(namedProblem(watchedId(job(node)), *job(node).problem));
    }
    void leftOut(const Problem& problem) override { reportProblem(problem); }
    void silent(const std::vector<std::size_t>& nodes) override {
        constexpr std::size_t mostNames = 5;
        std::string text = "no value yet (only values of good status are delivered): ";
        for (std::size_t i = 0; i < std::min(nodes.size(), mostNames); ++i)
            text += (i == 0 ? "" : ", ") + watchedId(job(nodes[i]));
        if (nodes.size() > mostNames)
            text += ", and " + std::to_string(nodes.size() - mostNames) + " more";
        reportNote(text);
    }
    void dropped(std::size_t count) override {
        reportNote(std::to_string(count) + " changes were dropped: they come faster than the output is read");
    }
    void leftUnread(std::size_t count) override {
        reportNote(std::to_string(count) + " changes were not read any more before the end");
    }
    void event(const LinkEvent& event) override {
        flush();
        reportNote(event.text);
    }
    void flush() override { writeOutput(std::exchange(m_lines, {})); }
    void end() override { flush(); }

protected:
    const Job& job(std::size_t node) const { return m_monitored.nodes[node]; }
    void put(const std::string& line) { m_lines += line; }

private:
    const Monitored& m_monitored;
    std::string m_lines;
};

/// Everything is a document; what people should know goes to standard error, too.
class JsonLines final : public TextLines {
public:
    using TextLines::TextLines;

    void change(const Change& change) override {
        const Job& watched = job(change.node);
        put("value",
            {{"nodeId", watched.node.nodeId},
             {"index", watched.index ? Json(*watched.index) : Json()},
             {"name", watched.given},
             {"type", isReadAsText(watched) ? Json() : Json(typeName(deliveredType(watched, change.value)))},
             {"value", toJson(change.value)},
             {"status", statusName(change)}},
            change.time);
    }
    void refused(std::size_t node) override {
        put("refused", {{"nodeId", job(node).node.nodeId}, {"error", toJson(job(node).problem)}});
        TextLines::refused(node);
    }
    void leftOut(const Problem& problem) override {
        put("leftOut", {{"error", toJson(problem)}});
        TextLines::leftOut(problem);
    }
    void silent(const std::vector<std::size_t>& nodes) override {
        Json ids = Json::array();
        for (const std::size_t node : nodes)
            ids.push_back(job(node).node.nodeId);
        put("silent", {{"nodeIds", std::move(ids)}});
        TextLines::silent(nodes);
    }
    void dropped(std::size_t count) override {
        put("dropped", {{"count", count}});
        TextLines::dropped(count);
    }
    void leftUnread(std::size_t count) override {
        put("leftUnread", {{"count", count}});
        TextLines::leftUnread(count);
    }
    void event(const LinkEvent& event) override {
        put(event.name(), {{"message", event.text}, {"seconds", event.seconds}});
        TextLines::event(event);
    }

private:
    void put(const char* event, const Json& rest,
             std::chrono::system_clock::time_point time = std::chrono::system_clock::now()) {
        Json json{{"event", event}, {"time", utcText(time)}};
        json.update(rest);
        TextLines::put(documentLine(json));
    }
};

class CsvLines final : public TextLines {
public:
    explicit CsvLines(const Monitored& monitored) : TextLines(monitored) {
        put(csvLine({"time", "node", "index", "name", "type", "value", "status"}));
    }

    void change(const Change& change) override {
        const Job& watched = job(change.node);
        const std::string type = isReadAsText(watched) || isWatchedWhole(watched)
                                     ? typeAndShape(watched.node)
                                     : std::string(typeName(deliveredType(watched, change.value)));
        put(forStandardOutput(
            csvLine({utcText(change.time), watched.node.nodeId, indexText(watched.index.value_or(Index())),
                     watched.given, type, valueField(NodeValue(change.value)), statusName(change)})));
    }
};

} // namespace

std::unique_ptr<MonitorOutput> makeTextLines(const Monitored& monitored) {
    return std::make_unique<TextLines>(monitored);
}

std::unique_ptr<MonitorOutput> makeCsvLines(const Monitored& monitored) {
    return std::make_unique<CsvLines>(monitored);
}

std::unique_ptr<MonitorOutput> makeJsonLines(const Monitored& monitored) {
    return std::make_unique<JsonLines>(monitored);
}

} // namespace opcua_cli
