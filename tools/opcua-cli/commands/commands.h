#pragma once

#include "commands/arguments.h"

namespace opcua_cli {

/// Each adds its sub-command and stores what is to be run when it was chosen.
void addDiscoverCommand(CLI::App& app, Action& chosen);
void addBrowseCommand(CLI::App& app, Action& chosen);
void addReadCommand(CLI::App& app, Action& chosen);
void addWriteCommand(CLI::App& app, Action& chosen);
void addMonitorCommand(CLI::App& app, Action& chosen);
void addRecordCommand(CLI::App& app, Action& chosen);
void addExportCommand(CLI::App& app, Action& chosen);
void addShellCommand(CLI::App& app, Action& chosen);
void addInfoCommand(CLI::App& app, Action& chosen);
void addSnapshotCommand(CLI::App& app, Action& chosen);
void addRestoreCommand(CLI::App& app, Action& chosen);
void addFindCommand(CLI::App& app, Action& chosen);
void addCompareCommand(CLI::App& app, Action& chosen);
void addPingCommand(CLI::App& app, Action& chosen);
void addCertCommand(CLI::App& app, Action& chosen);

} // namespace opcua_cli
