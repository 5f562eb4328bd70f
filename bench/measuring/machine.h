#pragma once

#include <string>

namespace bench {

/// What the figures depend on: CPU, system, engine, build. A few lines.
std::string machineFacts();

} // namespace bench
