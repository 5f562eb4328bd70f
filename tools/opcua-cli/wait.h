#pragma once

#include <functional>
#include <string>

namespace opcua_cli {

/// Makes the attempt to reach a server; with a `patience` (CommonOptions::wait) again and again as long as it
/// fails for a reason that can pass, and says on standard error what is waited for. Throws what the last
/// attempt threw, and Failure (Interrupted, ...).
void attemptUntilThere(const std::string& patience, const std::function<void()>& attempt);

} // namespace opcua_cli
