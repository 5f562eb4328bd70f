#pragma once

/// Closes the trace file and forgets the settings, whoever still uses the platform layer.
void releaseTrace();
