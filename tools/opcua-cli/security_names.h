#pragma once

#include <array>
#include <string>

namespace opcua_cli {

/// Name of the library's number for a message security mode.
inline std::string modeName(int mode) {
    constexpr std::array<const char*, 3> names{"None", "Sign", "SignAndEncrypt"};
    return mode >= 0 && mode < static_cast<int>(names.size()) ? names[static_cast<std::size_t>(mode)]
                                                              : "unknown";
}

/// Name of the library's number for a security policy. A policy that the library does not know has the number
/// of None; with a mode that protects something it cannot be None.
inline std::string policyName(int policy, int mode) {
    constexpr std::array<const char*, 6> names{
        "None",           "Basic128Rsa15",         "Basic256",
        "Basic256Sha256", "Aes128_Sha256_RsaOaep", "Aes256_Sha256_RsaPss"};
    const bool known = policy >= 0 && policy < static_cast<int>(names.size()) && (policy != 0 || mode == 0);
    return known ? names[static_cast<std::size_t>(policy)] : "unknown";
}

} // namespace opcua_cli
