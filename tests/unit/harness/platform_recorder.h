#pragma once

#include <string>
#include <vector>

/// Records the calls that the library makes into libuabasecpp's process-wide state, and to readlink(), in the
/// stand-in's record: this program defines the same functions and passes the calls on. It answers for the
/// library's environment variable, too.
///
/// The trace is not opened: it lies beside the executable, where tests that run at the same time would meet.
/// Its calls are recorded and answered here.
namespace platform_recorder {

/// What initTrace() answers.
void answerInitTrace(int result);

/// What was written to the trace since the last reset(): "area | text". It is in no record of calls.
std::vector<std::string> traceLines();

/// Path of the running executable as readlink("/proc/self/exe") gives it.
void setExecutable(const std::string& path);
/// Makes that readlink() fail.
void failExecutable();
/// What secure_getenv() gives for OPCUACLIENT_DIRECTORY; nothing unless it is set here, whatever the
/// environment of the tests.
void setNamedDirectory(const std::string& value);
/// Back to defaults.
void reset();

} // namespace platform_recorder
