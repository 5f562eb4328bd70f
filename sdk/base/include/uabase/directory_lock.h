#pragma once

#include <chrono>

#include "uabase/file_descriptor.h"
#include "uabase/string.h"
#include "uastack/export.h"

/// Keeps all others that lock the same directory, threads of this process and other processes, waiting for as
/// long as it lives. Nothing is written for it, and the system releases it when the process ends, however it
/// ends.
class UASDK_EXPORT UaDirectoryLock {
public:
    /// Waits until nobody else has it, but no longer than `limit`.
    UaDirectoryLock(const UaString& directory, std::chrono::milliseconds limit);
    ~UaDirectoryLock();
    UaDirectoryLock(const UaDirectoryLock&) = delete;
    UaDirectoryLock& operator=(const UaDirectoryLock&) = delete;

    bool isHeld() const { return m_directory.isOpen(); }
    /// Why it is not held; empty when it is.
    const UaString& problem() const { return m_problem; }

private:
    void release();

    UaFileDescriptor m_directory;
    UaString m_problem;
};
