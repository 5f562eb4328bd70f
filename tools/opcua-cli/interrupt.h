#pragma once

namespace opcua_cli {

/// From now on the first Ctrl-C (SIGINT), SIGTERM or hang-up asks the running command to end in good order,
/// so that no session stays on the server; a second one ends the program at once.
void watchForInterrupt();

/// Throws Failure (Interrupted, Terminated or HungUp) once such a signal came. Long jobs call it between two
/// services.
void throwIfInterrupted();

/// The Ctrl-C that came is dealt with: the next one counts as a first one.
void forgetInterrupt();

/// Becomes readable with the first signal, and stays so until forgetInterrupt(): for who waits in poll().
int interruptDescriptor();

/// What a second signal writes to standard output before it ends the program, to leave a terminal as it was;
/// null for nothing. The text must live on.
void setLastWords(const char* text);

} // namespace opcua_cli
