#include <cstddef>
#include <filesystem>
#include <optional>
#include <regex>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "commands/commands.h"
#include "formats/csv.h"
#include "formats/text_file.h"
#include "interrupt.h"
#include "output/streams.h"
#include "record/recording.h"

namespace opcua_cli {
namespace {

struct ExportOptions : CommonOptions {
    std::string file;
    std::string output; ///< empty for standard output
    RowFilter filter;
};

/// Standard output or a file, written in pieces: a recording may be longer than memory.
class Output {
public:
    explicit Output(const std::string& path) {
        if (!path.empty())
            m_file.emplace(path);
    }

    void put(const std::string& text) {
        constexpr std::size_t piece = 65536;
        m_pending += text;
        if (m_pending.size() >= piece)
            flush();
    }

    void finish() {
        flush();
        if (m_file)
            m_file->finish();
    }

private:
    void flush() {
        const std::string text = std::exchange(m_pending, {});
        if (m_file)
            m_file->write(text);
        else
            writeOutput(forStandardOutput(text));
    }

    std::optional<NewTextFile> m_file;
    std::string m_pending;
};

ExitCode runExport(const ExportOptions& options) {
    Recording recording = Recording::toRead(options.file);
    std::error_code different;
    if (std::filesystem::equivalent(options.file, options.output, different))
        throw usageFailure(options.output + " is the recording itself");
    Output output(options.output);
    output.put(csvLine({"time", "event", "url", "node", "name", "type", "value"}));
    recording.rows(options.filter, [&](const RecordedRow& row) {
        throwIfInterrupted();
        output.put(csvLine({row.time, row.event, row.url, row.node, row.name, row.type, row.text}));
    });
    output.finish();
    return ExitCode::Success;
}

/// Times are compared as texts, of which the beginning of one is the earliest that begins so.
std::string checkTime(std::string& text) {
    static const std::regex form(R"((\d{4}-(0[1-9]|1[0-2])-(0[1-9]|[12]\d|3[01])))"
                                 R"(([T ]([01]\d|2[0-3]):[0-5]\d(:[0-5]\d(\.\d{1,3})?)?)?Z?)");
    if (!std::regex_match(text, form))
        return "\"" + text + "\" is no time; try 2024-05-01 or 2024-05-01T08:00:00Z (UTC)";
    if (text.back() == 'Z')
        text.pop_back();
    if (text.size() > 10)
        text[10] = 'T';
    return {};
}

constexpr const char* exportExamples = R"(Examples:
  opcua-cli export week.sqlite > week.csv
  opcua-cli export week.sqlite --node 'ns=2;s=Line1.Speed' --output speed.csv
  opcua-cli export week.sqlite --from 2024-05-01T08:00 --to 2024-05-01T16:00

Rows that tell of the connection (started, lost, connected, ended, ...) are always among them.)";

} // namespace

void addExportCommand(Program& program, Action& chosen) {
    auto [command, options] = addCommand<ExportOptions>(
        program, chosen, runExport, "export", "Write a recording, or a part of it, as CSV", exportExamples);
    command.addPositional("FILE", &options.file, "The recording").required = true;
    command.addOption("--node", "ID", &options.filter.node,
                      "Only this node, by its id, with the index of an element: ns=2;s=Zones[3]");
    command.addOption("--from", "TIME", &options.filter.from, "Rows of this time (UTC) and later ones",
                      checkTime);
    command.addOption("--to", "TIME", &options.filter.to, "Rows before this time (UTC)", checkTime);
    command.addOption("--output", "FILE", &options.output, "Write to this file instead of standard output");
}

} // namespace opcua_cli
