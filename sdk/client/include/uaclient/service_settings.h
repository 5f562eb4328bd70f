#pragma once

#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// What applies to one service call.
struct ServiceSettings {
    /// Milliseconds to wait for the answer; 0 or less stands for the default.
    OpcUa_Int32 callTimeout = defaultCallTimeout;

    static constexpr OpcUa_Int32 defaultCallTimeout = 10000;
};

} // namespace UaClientSdk
