#include "uabase/trace.h"

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

#include <spdlog/details/null_mutex.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>

#include "platform_users.h"
#include "trace_file.h"
#include "trace_state.h"
#include "trace_text.h"

namespace {

/// A text that a peer sent is cut here: nobody reads more, and it must not fill the disk.
constexpr std::size_t textLimit = 8192;
constexpr std::size_t nameLimit = 256; ///< of a severity, an area
constexpr unsigned int everythingBit = 0x01;

class TraceSink final : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
public:
    TraceSink(std::string fileName, unsigned int maxEntries, unsigned int backups)
        : base_sink(std::make_unique<spdlog::pattern_formatter>("%Y-%m-%dT%H:%M:%S.%eZ [%t] %v",
                                                                spdlog::pattern_time_type::utc)),
          m_file(std::move(fileName), maxEntries, backups) {}

    bool isOpen() const { return m_file.isOpen(); }

protected:
    void sink_it_(const spdlog::details::log_msg& message) override {
        spdlog::memory_buf_t line;
        formatter_->format(message, line);
        m_file.append(std::string_view(line.data(), line.size()));
    }
    void flush_() override {}

private:
    TraceFile m_file;
};

// What the tests before an entry look at. These outlive every static object, so that threads may still write
// while the process exits; the sink does so too because the state below is never destroyed.
std::atomic<int> shownLevel{UaTrace::Off};
std::atomic<unsigned int> shownStackMask{0};

struct TraceState {
    std::mutex mutex;
    std::unique_ptr<TraceSink> sink;
    UaTrace::TraceLevel level = UaTrace::Off;
    bool active = true;
    unsigned int stackMask = 0;
    bool stackActive = true;

    /// Called with the mutex held after every change.
    void publish() const {
        shownLevel.store(sink && active ? level : UaTrace::Off, std::memory_order_relaxed);
        shownStackMask.store(sink && stackActive ? stackMask : 0, std::memory_order_relaxed);
    }
};

TraceState& state() {
    static TraceState* const instance = new TraceState;
    return *instance;
}

template <typename Change>
void changeState(Change change) {
    TraceState& trace = state();
    const std::lock_guard<std::mutex> lock(trace.mutex);
    change(trace);
    trace.publish();
}

const char* levelName(UaTrace::TraceLevel level) {
    static constexpr const char* names[] = {"OFF",  "ERROR", "WARNING", "LIFECYCLE",
                                            "INFO", "DEBUG", "DETAIL",  "ALL"};
    return names[level >= UaTrace::Off && level <= UaTrace::Everything ? level : UaTrace::Everything];
}

void writeEntry(const char* severity, const char* area, std::string_view text) noexcept {
    try {
        std::string entry;
        appendTraceText(severity != nullptr ? severity : "", nameLimit, entry);
        entry += ' ';
        appendTraceText(area != nullptr ? area : "", nameLimit, entry);
        entry += " | ";
        appendTraceText(text, textLimit, entry);
        TraceState& trace = state();
        const std::lock_guard<std::mutex> lock(trace.mutex);
        if (trace.sink)
            trace.sink->log(spdlog::details::log_msg("", spdlog::level::info, entry));
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // The trace must never be what fails.
    }
}

} // namespace

int UaTrace::initTrace(TraceLevel level, unsigned int maxEntriesPerFile, unsigned int backupFiles,
                       const UaString& fileName, const UaString& applicationName) {
    bool opened = false;
    try {
        changeState([&](TraceState& trace) {
            trace.sink.reset();
            trace.level = level;
            auto sink = std::make_unique<TraceSink>(fileName.text(), maxEntriesPerFile, backupFiles);
            opened = sink->isOpen();
            if (opened)
                trace.sink = std::move(sink);
        });
    } catch (...) {
        changeState([](TraceState&) {});
    }
    write(LifeCycle, "Trace", "%s, process %ld, trace level %d", applicationName.toUtf8(),
          static_cast<long>(::getpid()), static_cast<int>(level));
    return opened ? 0 : -1;
}

void UaTrace::closeTrace() {
    runAsLastPlatformUser(releaseTrace);
}

void releaseTrace() {
    changeState([](TraceState& trace) {
        trace.sink.reset();
        trace.level = UaTrace::Off;
        trace.stackMask = 0;
    });
}

void UaTrace::setTraceActive(bool active) {
    changeState([active](TraceState& trace) { trace.active = active; });
}

bool UaTrace::enabled(TraceLevel level) {
    return level != Off && level <= shownLevel.load(std::memory_order_relaxed);
}

void UaTrace::write(TraceLevel level, const char* area, const char* format, ...) {
    if (!enabled(level))
        return;
    // Longer ones are cut by vsnprintf, which may be within a character: that one lies beyond the limit.
    constexpr std::size_t longestCharacter = 4;
    char text[textLimit + longestCharacter + 1];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    if (length >= 0)
        writeEntry(levelName(level), area, text);
}

void UaTrace::writeStack(const char* severity, const char* area, const char* text) {
    if (shownStackMask.load(std::memory_order_relaxed) != 0)
        writeEntry(severity, area, text != nullptr ? text : "");
}

bool UaTrace::stackEnabled(unsigned int traceBit) {
    const unsigned int mask = shownStackMask.load(std::memory_order_relaxed);
    return (mask & (traceBit | everythingBit)) != 0;
}

void UaTrace::setStackMask(unsigned int traceMask) {
    changeState([traceMask](TraceState& trace) { trace.stackMask = traceMask; });
}

void UaTrace::setStackActive(bool active) {
    changeState([active](TraceState& trace) { trace.stackActive = active; });
}
