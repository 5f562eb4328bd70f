#pragma once

/// Marks what the SDK's shared libraries export; everything else stays hidden.
#define UASDK_EXPORT __attribute__((visibility("default")))
