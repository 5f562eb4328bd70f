#include <cstddef>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "commands/commands.h"
#include "commands/monitor.h"
#include "output/json.h"
#include "output/streams.h"
#include "record/recorder.h"

namespace opcua_cli {
namespace {

struct RecordOptions : FollowOptions {
    // What the library samples ten times a second is delivered as often: nothing is passed over.
    RecordOptions() { interval = 100; }
    std::string file;
};

/// What another program's lock has held up is written at last without a connection, whatever the end was: it
/// stays what is told in the end.
void writeTheRest(Recording& recording) {
    try {
        recording.commit();
    } catch (const Failure& failure) {
        reportProblem(failure.problem());
    }
}

ExitCode followInto(Recording& recording, const RecordOptions& options, std::size_t& changes) {
    ExitCode result = ExitCode::Success;
    try {
        result = follow(options, [&](const Monitored& monitored) {
            return std::make_unique<Recorder>(monitored, recording, changes);
        });
    } catch (const Failure& failure) {
        if (failure.exitCode() != ExitCode::OutputFailed)
            writeTheRest(recording);
        throw;
    } catch (...) {
        writeTheRest(recording);
        throw;
    }
    recording.commit();
    return result;
}

ExitCode runRecord(const RecordOptions& options) {
    Recording recording = Recording::toWrite(options.file);
    std::size_t changes = 0;
    const ExitCode result = followInto(recording, options, changes);
    writeOutput(options.json ? document({{"url", options.url}, {"file", options.file}, {"changes", changes}})
                             : std::to_string(changes) + " changes recorded in " + options.file + "\n");
    return result;
}

constexpr const char* recordExamples = R"(Examples:
  opcua-cli record plant:4840 week.sqlite /Plant/Line1       a whole folder, until Ctrl-C
  opcua-cli record plant:4840 week.sqlite 'ns=2;s=Line1.Speed' --duration 3600
  opcua-cli export week.sqlite --from 2024-05-01 > may.csv
  sqlite3 week.sqlite 'SELECT time, value FROM record WHERE name = "Speed"'

A file that is there is continued. Rows are on disk after a second; times are UTC and those of arrival. That
the connection was lost, and is back, are rows of their own.)";

} // namespace

void addRecordCommand(Program& program, Action& chosen) {
    auto [command, options] = addCommand<RecordOptions>(
        program, chosen, runRecord, "record", "Record the changes of values in a SQLite file, until Ctrl-C",
        recordExamples);
    addConnectOptions(command, options);
    command.addPositional("FILE", &options.file, "SQLite file; it is made, or continued").required = true;
    addFollowOptions(command, options);
}

} // namespace opcua_cli
