#pragma once

#include "uastack/export.h"

/// Process-wide start-up of the SDK. Counts its users: the last cleanup() releases what the first init() set
/// up.
class UASDK_EXPORT UaPlatformLayer {
public:
    /// Returns 0.
    static int init();
    static void cleanup();

    /// Which of the protocol engine's own messages go to the trace: bit 0x20 errors, 0x10 warnings, 0x08
    /// connection life cycle, 0x04 information, 0x02 debugging, 0x01 everything. `enabled` 0 stops them all.
    static void changeTraceSettings(unsigned char enabled, unsigned int traceMask);
};
