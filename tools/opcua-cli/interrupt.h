#pragma once

namespace opcua_cli {

/// From now on the first Ctrl-C asks the running command to end in good order, so that no session stays on
/// the server; a second one ends the program at once.
void watchForInterrupt();

/// Throws Failure (Interrupted) once Ctrl-C was pressed. Long jobs call it between two services.
void throwIfInterrupted();

} // namespace opcua_cli
