#include "server/log.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace plant_server {

Log::Log(bool verbose) : m_verbose(verbose) {
    m_logger.log = write;
    m_logger.context = this;
}

void Log::write(void* self, UA_LogLevel level, UA_LogCategory, const char* format, va_list arguments) {
    Log& log = *static_cast<Log*>(self);
    const bool warning = level >= UA_LOGLEVEL_WARNING;
    if (level < UA_LOGLEVEL_INFO || (!log.m_verbose && !warning))
        return;
    std::array<char, 1024> line{};
    std::vsnprintf(line.data(), line.size(), format, arguments);
    if (warning)
        log.m_latestWarning = line.data();
    if (log.m_verbose)
        std::fprintf(stderr, "%s %s\n", warning ? "warning" : "info", line.data());
}

} // namespace plant_server
