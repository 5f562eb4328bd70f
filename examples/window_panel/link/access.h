#pragma once

#include <cstddef>
#include <string>

#include "OpcUaClientInterface.h"

namespace window_panel {

/// Whom the panel connects to, and how. Without a user it may look, and is anonymous.
struct Access {
    std::string url;
    bool secured = true;
    std::string user;
    std::string password;

    /// What a connect's record has room for, in bytes.
    static constexpr std::size_t urlLimit = sizeof(_OpcUaClientConfig::endpointUrl) - 1;
    static constexpr std::size_t userLimit = sizeof(_OpcUaClientConfig::userName) - 1;
    static constexpr std::size_t passwordLimit = sizeof(_OpcUaClientConfig::password) - 1;
};

} // namespace window_panel
