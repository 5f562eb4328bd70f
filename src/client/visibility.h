#pragma once

/// Keeps a helper of an exported class out of the exported symbols.
#define OPCUACLIENT_LOCAL __attribute__((visibility("hidden")))
