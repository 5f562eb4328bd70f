#pragma once

#include "uabase/string.h"
#include "uastack/export.h"

/// The process-wide trace file. Thread-safe. One line an entry:
/// "2026-03-01T12:30:00.123Z [thread] LEVEL area | text". The text is valid UTF-8 and cut at 8192 bytes;
/// control characters, marks that turn the direction of writing and bytes that are no UTF-8 are written out:
/// \x9B,
/// \u202E.
///
/// A full file is renamed to "<name>.1", that one to "<name>.2" and so on. Entries of an existing file count.
/// A file that cannot be written disables the trace and is no failure.
class UASDK_EXPORT UaTrace {
public:
    /// Greater shows more; each level includes those below it.
    enum TraceLevel {
        Off = 0,
        Errors = 1,
        Warnings = 2,
        LifeCycle = 3,
        Information = 4,
        Debugging = 5,
        Details = 6,
        Everything = 7
    };

    /// Opens the trace, or replaces it by one with these settings. Returns 0, or -1 when the file cannot be
    /// written.
    static int initTrace(TraceLevel level, unsigned int maxEntriesPerFile, unsigned int backupFiles,
                         const UaString& fileName, const UaString& applicationName);
    /// Closes the trace when the caller is the platform layer's last user; with others left it does nothing.
    static void closeTrace();

    static void setTraceActive(bool active);

    /// Cheap test for callers that would have to build a text first.
    static bool enabled(TraceLevel level);
    __attribute__((format(printf, 3, 4))) static void write(TraceLevel level, const char* area,
                                                            const char* format, ...);
    /// A line of the protocol's own work that changeTraceSettings() chose: written whatever the level is.
    static void writeStack(const char* severity, const char* area, const char* text);
    /// Whether lines of this mask bit are chosen.
    static bool stackEnabled(unsigned int traceBit);

private:
    friend class LibT;
    friend class UaPlatformLayer;
    static void setStackMask(unsigned int traceMask);
    static void setStackActive(bool active);
};

/// Switches of the two trace sources.
class UASDK_EXPORT LibT {
public:
    static void setTraceActive(bool active) { UaTrace::setTraceActive(active); }
    static void setStackTraceActive(bool active) { UaTrace::setStackActive(active); }
};
