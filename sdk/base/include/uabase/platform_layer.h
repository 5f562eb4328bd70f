#pragma once

#include "uastack/export.h"

/// Process-wide start-up of the SDK. Counts its users: the last cleanup() releases what the first init() set
/// up.
class UASDK_EXPORT UaPlatformLayer {
public:
    /// Returns 0.
    static int init();
    static void cleanup();

    /// What of the protocol's own work goes to the trace: bit 0x08 the life of a channel, 0x02 each message,
    /// 0x01 everything. The other bits choose nothing today. `enabled` 0 stops it all.
    static void changeTraceSettings(unsigned char enabled, unsigned int traceMask);
};
