#pragma once

/// What this client calls itself, in its certificate and in its sessions.
namespace application {

constexpr const char* uri = "urn:HMI:Kestrova::RK4400";
constexpr const char* name = "HMI_RK4400";
constexpr const char* productUri = "urn:Kestrova::RK4400";

} // namespace application
