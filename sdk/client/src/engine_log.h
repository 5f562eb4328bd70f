#pragma once

#include <cstdarg>

#include <open62541/plugin/log.h>

namespace UaClientSdk {

/// Hands the engine's messages to the trace, each under the mask bit of its kind.
void writeEngineLog(UA_LogLevel level, UA_LogCategory category, const char* format, va_list args);

} // namespace UaClientSdk
