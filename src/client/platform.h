#pragma once

#include "uabase/platform_layer.h"
#include "uabase/trace.h"

/// A client's part in the SDK's platform layer: the last client of the process takes layer and trace along.
class Platform {
public:
    Platform() { UaPlatformLayer::init(); }
    ~Platform() {
        UaTrace::closeTrace();
        UaPlatformLayer::cleanup();
    }
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;
};
