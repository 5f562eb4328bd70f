#pragma once

#include <string>
#include <string_view>

namespace opcua_cli {

/// SHA-1 (FIPS 180-4) as upper-case hexadecimal digits. It names certificates, as OPC UA does; it protects
/// nothing.
std::string sha1(std::string_view bytes);

} // namespace opcua_cli
