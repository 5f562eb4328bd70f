#include <array>
#include <climits>
#include <cstddef>
#include <memory>
#include <string_view>

#include <unistd.h>

#include "client/opcua_client.h"
#include "subscription/callback.h"
#include "uabase/platform_layer.h"
#include "uabase/trace.h"

namespace {

struct TraceSettings {
    UaTrace::TraceLevel level;
    unsigned int stackMask; ///< what of the protocol's own work is written
};

/// By _OpcUaClientTraceLevel, from 1. The masks don't grow steadily: LifeCycle has the information lines
/// (0x04), Information leaves them out.
constexpr std::array<TraceSettings, 7> traceSettings{{{UaTrace::Errors, 0x20},
                                                      {UaTrace::Warnings, 0x30},
                                                      {UaTrace::LifeCycle, 0x3C},
                                                      {UaTrace::Information, 0x38},
                                                      {UaTrace::Debugging, 0x3E},
                                                      {UaTrace::Details, 0x3F},
                                                      {UaTrace::Everything, 0xFFFFFFFF}}};

TraceSettings settingsFor(_OpcUaClientTraceLevel level) {
    const unsigned int index = static_cast<unsigned int>(level) - 1;
    return index < traceSettings.size() ? traceSettings[index] : TraceSettings{UaTrace::Off, 0};
}

constexpr unsigned int entriesPerFile = 50000;
constexpr unsigned int backupFiles = 10;
constexpr std::size_t pathSize = 4096;

} // namespace

int COpcUaClient::OpcUaInit(_OpcUaClientTraceLevel level) {
    if (m_callback) {
        m_callback->installClient(m_owningClient);
    }
    const TraceSettings settings = settingsFor(level);
    const std::unique_ptr<char[]> directory(getAppPath());
    const UaString logFile = UaString("%1/OpcUaClient.log").arg(UaString(directory.get()));
    UaTrace::initTrace(settings.level, entriesPerFile, backupFiles, logFile, "Kestrova OPCUA Client");
    LibT::setTraceActive(true);
    UaPlatformLayer::changeTraceSettings(1, settings.stackMask);
    LibT::setStackTraceActive(true);
    return result::success;
}

char* COpcUaClient::getAppPath() {
    char link[pathSize];
    const ssize_t length = readlink("/proc/self/exe", link, pathSize);
    if (length < 0 || static_cast<std::size_t>(length) >= pathSize) {
        return nullptr;
    }
    const std::string_view program(link, static_cast<std::size_t>(length));
    const std::string_view directory = program.substr(0, program.rfind('/'));
    auto path = std::make_unique<char[]>(pathSize);
    directory.copy(path.get(), directory.size());
    return path.release();
}
