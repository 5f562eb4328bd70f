#pragma once

namespace opcua_cli {

/// From now on the first Ctrl-C (SIGINT), SIGTERM or hang-up asks the running command to end in good order,
/// so that no session stays on the server; a second one ends the program at once.
void watchForInterrupt();

/// Throws Failure (Interrupted, Terminated or HungUp) once such a signal came. Long jobs call it between two
/// services.
void throwIfInterrupted();

/// Becomes readable with the first signal, and stays so: for who waits in poll().
int interruptDescriptor();

/// What a second signal does before it ends the program, to leave a terminal as it was; null for nothing. It
/// runs in a signal handler.
void setLastAct(void (*act)());

} // namespace opcua_cli
