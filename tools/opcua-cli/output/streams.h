#pragma once

#include <string>

#include "failure.h"

namespace opcua_cli {

/// Standard input, output and error hold their numbers even when the caller closed them: a connection must
/// never take one of these. A reader that goes away is a failed write and no signal.
void secureStandardStreams();

/// Writes everything, or throws Failure: OutputClosed (the reader went away), OutputFailed, or as
/// throwIfInterrupted() for a signal that comes while it is being written.
void writeOutput(const std::string& text);

/// A problem for a person, on standard error: what, the library's word on it, what to try.
void reportProblem(const Problem& problem);

/// A remark that is no error, on standard error.
void reportNote(const std::string& text);

/// Everything that standard input holds. Throws Failure (Usage).
std::string readInput();

/// The same for any descriptor; the name is for the message.
std::string readAll(int descriptor, const std::string& name);

/// Writes everything and tells whether that was possible; if not, errno says why.
bool writeAll(int descriptor, const std::string& text);

} // namespace opcua_cli
