#pragma once

#include "uaclient/service_settings.h"

/// Settings of every service call: the answer is awaited for ten seconds.
inline UaClientSdk::ServiceSettings callSettings() {
    UaClientSdk::ServiceSettings settings;
    settings.callTimeout = 10000;
    return settings;
}
