#include "platform_recorder.h"

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

#include "standin/standin.h"
#include "support/next_definition.h"
#include "uabase/platform_layer.h"
#include "uabase/settings.h"
#include "uabase/trace.h"

using standin::script;

namespace {

int initTraceResult = 0;
bool executableFails = false;
std::optional<std::string> executable;
std::optional<std::string> namedDirectory;
std::mutex traceMutex;
std::vector<std::string> traceTexts;

std::string hex(unsigned int number) {
    char text[16];
    std::snprintf(text, sizeof(text), "0x%X", number);
    return text;
}

} // namespace

namespace platform_recorder {

void answerInitTrace(int result) {
    initTraceResult = result;
}

std::vector<std::string> traceLines() {
    const std::lock_guard<std::mutex> lock(traceMutex);
    return traceTexts;
}

void setExecutable(const std::string& path) {
    executable = path;
    executableFails = false;
}

void failExecutable() {
    executableFails = true;
}

void setNamedDirectory(const std::string& value) {
    namedDirectory = value;
}

void reset() {
    initTraceResult = 0;
    namedDirectory.reset();
    executableFails = false;
    executable.reset();
    const std::lock_guard<std::mutex> lock(traceMutex);
    traceTexts.clear();
}

} // namespace platform_recorder

int UaPlatformLayer::init() {
    static const auto next = nextDefinition<int (*)()>("_ZN15UaPlatformLayer4initEv");
    script().record("UaPlatformLayer::init");
    return next();
}

void UaPlatformLayer::cleanup() {
    static const auto next = nextDefinition<void (*)()>("_ZN15UaPlatformLayer7cleanupEv");
    script().record("UaPlatformLayer::cleanup");
    next();
}

void UaPlatformLayer::changeTraceSettings(unsigned char enabled, unsigned int traceMask) {
    script().record("UaPlatformLayer::changeTraceSettings", nullptr,
                    std::to_string(enabled) + ", " + hex(traceMask));
}

int UaTrace::initTrace(TraceLevel level, unsigned int maxEntriesPerFile, unsigned int backupFiles,
                       const UaString& fileName, const UaString& applicationName) {
    script().record("UaTrace::initTrace", nullptr,
                    std::to_string(level) + ", " + std::to_string(maxEntriesPerFile) + ", " +
                        std::to_string(backupFiles) + ", " + fileName.text() + ", " + applicationName.text());
    return initTraceResult;
}

void UaTrace::closeTrace() {
    script().record("UaTrace::closeTrace");
}

void UaTrace::write(TraceLevel, const char* area, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const std::lock_guard<std::mutex> lock(traceMutex);
    traceTexts.push_back(std::string(area) + " | " + text);
}

void UaTrace::setTraceActive(bool active) {
    script().record("LibT::setTraceActive", nullptr, std::string(active ? "true" : "false"));
}

void UaTrace::setStackActive(bool active) {
    script().record("LibT::setStackTraceActive", nullptr, std::string(active ? "true" : "false"));
}

// A constructor cannot be defined here without taking over the whole class; its symbol can.
void constructSettings(UaSettings* self,
                       const UaUniString& fileName) __asm__("_ZN10UaSettingsC1ERK11UaUniString");
__attribute__((visibility("default"))) void constructSettings(UaSettings* self, const UaUniString& fileName) {
    static const auto next =
        nextDefinition<void (*)(UaSettings*, const UaUniString&)>("_ZN10UaSettingsC1ERK11UaUniString");
    script().record("UaSettings::UaSettings", self, fileName.toUtf8().text());
    next(self, fileName);
}

void UaSettings::beginGroup(const UaString& name) {
    static const auto next =
        nextDefinition<void (*)(UaSettings*, const UaString&)>("_ZN10UaSettings10beginGroupERK8UaString");
    script().record("UaSettings::beginGroup", this, name.text());
    next(this, name);
}

UaVariant UaSettings::value(const UaString& key, const UaVariant& defaultValue) const {
    // For the calling convention `this` is the first argument.
    static const auto next =
        nextDefinition<UaVariant (*)(const UaSettings*, const UaString&, const UaVariant&)>(
            "_ZNK10UaSettings5valueERK8UaStringRK9UaVariant");
    script().record("UaSettings::value", this, key.text() + " or " + defaultValue.toString().text());
    return next(this, key, defaultValue);
}

extern "C" __attribute__((visibility("default"))) ssize_t readlink(const char* path, char* buffer,
                                                                   size_t size) noexcept {
    static const auto next = nextDefinition<ssize_t (*)(const char*, char*, size_t)>("readlink");
    if (std::strcmp(path, "/proc/self/exe") != 0)
        return next(path, buffer, size);
    script().record("readlink", nullptr, std::to_string(size));
    if (executableFails) {
        errno = EACCES;
        return -1;
    }
    if (!executable)
        return next(path, buffer, size);
    return static_cast<ssize_t>(executable->copy(buffer, size));
}

extern "C" __attribute__((visibility("default"))) char* secure_getenv(const char* name) noexcept {
    static const auto next = nextDefinition<char* (*)(const char*)>("secure_getenv");
    if (std::strcmp(name, "OPCUACLIENT_DIRECTORY") != 0)
        return next(name);
    return namedDirectory ? namedDirectory->data() : nullptr;
}
