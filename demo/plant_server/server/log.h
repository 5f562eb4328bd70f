#pragma once

#include <cstdarg>
#include <string>

#include <open62541/plugin/log.h>

namespace plant_server {

/// The stack's log: on standard error when asked for, else kept back but for the latest warning, which
/// explains a failed start.
class Log {
public:
    explicit Log(bool verbose);
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    UA_Logger* logger() { return &m_logger; }
    const std::string& latestWarning() const { return m_latestWarning; }

private:
    static void write(void* self, UA_LogLevel level, UA_LogCategory category, const char* format,
                      va_list arguments);

    UA_Logger m_logger{};
    bool m_verbose;
    std::string m_latestWarning;
};

} // namespace plant_server
