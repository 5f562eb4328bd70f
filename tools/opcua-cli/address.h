#pragma once

#include <string>
#include <string_view>

namespace opcua_cli {

constexpr std::string_view urlScheme = "opc.tcp://";

/// Where an opc.tcp:// URL leads to.
struct Address {
    std::string host; ///< without the brackets of an IPv6 address
    std::string port; ///< as it is written; "4840" when none is
};

Address addressIn(std::string_view url);

} // namespace opcua_cli
