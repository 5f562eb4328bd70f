#include <array>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
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
constexpr const char* directoryVariable = "OPCUACLIENT_DIRECTORY";

using Path = std::array<char, pathSize>;

/// What the environment names in place of the executable's directory. Who starts a set-uid program must not
/// say where it keeps its keys.
std::optional<std::string_view> namedDirectory() {
    const char* const named = secure_getenv(directoryVariable);
    if (named == nullptr || *named != '/')
        return std::nullopt;
    const std::string_view path(named);
    const std::string_view directory = path.substr(0, path.find_last_not_of('/') + 1);
    return directory.size() < pathSize ? std::optional(directory) : std::nullopt;
}

std::optional<std::string_view> directoryOfExecutable(Path& link) {
    const ssize_t length = readlink("/proc/self/exe", link.data(), link.size());
    if (length < 0 || static_cast<std::size_t>(length) >= link.size())
        return std::nullopt;
    const std::string_view program(link.data(), static_cast<std::size_t>(length));
    return program.substr(0, program.rfind('/'));
}

} // namespace

int COpcUaClient::OpcUaInit(_OpcUaClientTraceLevel level) {
    if (m_callback)
        m_callback->installClient(m_owningClient);
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
    Path link;
    std::optional<std::string_view> directory = namedDirectory();
    if (!directory)
        directory = directoryOfExecutable(link);
    if (!directory)
        return nullptr;
    auto path = std::make_unique<char[]>(pathSize);
    directory->copy(path.get(), directory->size());
    return path.release();
}
