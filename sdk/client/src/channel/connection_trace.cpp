#include "channel/connection_trace.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>

#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

// Bits of the platform layer's mask.
constexpr unsigned int messages = 0x02;
constexpr unsigned int lifeCycle = 0x08;

constexpr std::size_t longestLine = 512;

} // namespace

void traceChannel(const char* format, ...) {
    if (!UaTrace::stackEnabled(lifeCycle))
        return;
    char line[longestLine];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    UaTrace::writeStack("CONNECTION", "channel", line);
}

void traceRequest(std::uint32_t requestId, const UA_DataType& type, std::size_t bytes) {
    if (UaTrace::stackEnabled(messages)) {
        char line[longestLine];
        std::snprintf(line, sizeof line, "%s %u sent, %zu bytes", type.typeName, requestId, bytes);
        UaTrace::writeStack("DEBUG", "channel", line);
    }
}

void traceAnswer(std::uint32_t requestId, std::size_t bytes) {
    if (UaTrace::stackEnabled(messages)) {
        char line[longestLine];
        std::snprintf(line, sizeof line, "answer to %u received, %zu bytes", requestId, bytes);
        UaTrace::writeStack("DEBUG", "channel", line);
    }
}

} // namespace UaClientSdk
