#pragma once

namespace opcua_cli {

/// What to do with a server certificate that is not trusted yet.
enum class TrustRule {
    Ask,    ///< ask the person at the terminal; without one, refuse
    Once,   ///< accept it for this run of the program
    Always, ///< put it into the trust list
    Never   ///< refuse
};

} // namespace opcua_cli
