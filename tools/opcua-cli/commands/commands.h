#pragma once

#include "command_line/command_line.h"
#include "commands/arguments.h"

namespace opcua_cli {

/// Each adds its sub-command and stores what is to be run when it was chosen.
void addDiscoverCommand(Program& program, Action& chosen);
void addBrowseCommand(Program& program, Action& chosen);
void addReadCommand(Program& program, Action& chosen);
void addWriteCommand(Program& program, Action& chosen);
void addMonitorCommand(Program& program, Action& chosen);
void addRecordCommand(Program& program, Action& chosen);
void addExportCommand(Program& program, Action& chosen);
void addShellCommand(Program& program, Action& chosen);
void addInfoCommand(Program& program, Action& chosen);
void addSnapshotCommand(Program& program, Action& chosen);
void addRestoreCommand(Program& program, Action& chosen);
void addFindCommand(Program& program, Action& chosen);
void addCompareCommand(Program& program, Action& chosen);
void addPingCommand(Program& program, Action& chosen);
void addCertCommand(Program& program, Action& chosen);

} // namespace opcua_cli
