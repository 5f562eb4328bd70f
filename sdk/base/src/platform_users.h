#pragma once

/// Runs `action` unless the platform layer has more users than the caller. No user comes or goes meanwhile.
void runAsLastPlatformUser(void (*action)());
