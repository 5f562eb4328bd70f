#include "engine_log.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

enum MaskBit : unsigned int {
    EverythingBit = 0x01,
    DebuggingBit = 0x02,
    InformationBit = 0x04,
    LifeCycleBit = 0x08,
    WarningBit = 0x10,
    ErrorBit = 0x20
};

struct Kind {
    MaskBit bit;
    const char* severity;
};

bool concernsConnection(UA_LogCategory category) {
    return category == UA_LOGCATEGORY_NETWORK || category == UA_LOGCATEGORY_SECURECHANNEL ||
           category == UA_LOGCATEGORY_SESSION || category == UA_LOGCATEGORY_CLIENT;
}

Kind kindOf(UA_LogLevel level, UA_LogCategory category) {
    if (level >= UA_LOGLEVEL_ERROR) {
        return {ErrorBit, "ERROR"};
    }
    if (level >= UA_LOGLEVEL_WARNING) {
        return {WarningBit, "WARNING"};
    }
    if (level >= UA_LOGLEVEL_INFO) {
        return concernsConnection(category) ? Kind{LifeCycleBit, "CONNECTION"} : Kind{InformationBit, "INFO"};
    }
    return level >= UA_LOGLEVEL_DEBUG ? Kind{DebuggingBit, "DEBUG"} : Kind{EverythingBit, "DETAIL"};
}

const char* areaOf(UA_LogCategory category) {
    switch (category) {
    case UA_LOGCATEGORY_NETWORK:
        return "network";
    case UA_LOGCATEGORY_SECURECHANNEL:
        return "channel";
    case UA_LOGCATEGORY_SESSION:
        return "session";
    case UA_LOGCATEGORY_CLIENT:
        return "client";
    case UA_LOGCATEGORY_SECURITYPOLICY:
        return "security";
    case UA_LOGCATEGORY_EVENTLOOP:
        return "eventloop";
    default:
        return "engine";
    }
}

/// What the engine warns of although it is meant to be so:
/// - It asks every server for a better URL than the one it has. This client stays at the URL that it was
/// given,
///   whatever the server list says, and gives the engine an application URI to look for that no server has.
/// - A query is sent while the engine still waits for that server list: it takes that for a second connect.
/// - It compares the application URI with that in our certificate for every policy, and the policy None has
/// no
///   certificate.
constexpr const char* expectedWarnings[] = {
    "FindServers did not return",
    "Client connection already initiated",
    "skip verifying ApplicationURI for the SecurityPolicy",
};

bool isExpected(UA_LogLevel level, const char* format) {
    return level == UA_LOGLEVEL_WARNING &&
           std::any_of(std::begin(expectedWarnings), std::end(expectedWarnings),
                       [format](const char* beginning) {
                           return std::strncmp(format, beginning, std::strlen(beginning)) == 0;
                       });
}

} // namespace

void writeEngineLog(UA_LogLevel level, UA_LogCategory category, const char* format, va_list args) {
    const Kind kind = kindOf(level, category);
    if (!UaTrace::stackEnabled(kind.bit) || isExpected(level, format)) {
        return;
    }
    char text[2048];
    std::vsnprintf(text, sizeof text, format, args);
    UaTrace::writeStack(kind.severity, areaOf(category), text);
}

} // namespace UaClientSdk
