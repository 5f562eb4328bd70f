#pragma once

#include <string_view>

#include "uastack/protocol_types.h"

// Policies and modes as connect parameters and discovery results number them.

/// Number of the policy whose name follows the first '#'; 0 for any policy that has no number of its own.
int securityPolicyNumber(std::string_view policyUri);

/// 0 none, 1 sign, 2 sign and encrypt: one below the protocol's own number.
constexpr OpcUa_MessageSecurityMode messageSecurityMode(int number) {
    return static_cast<OpcUa_MessageSecurityMode>(number + OpcUa_MessageSecurityMode_None);
}

/// The same back from the protocol's number; 0 for a mode that is not valid.
constexpr int securityModeNumber(int mode) {
    const bool valid =
        mode >= OpcUa_MessageSecurityMode_None && mode <= OpcUa_MessageSecurityMode_SignAndEncrypt;
    return valid ? mode - OpcUa_MessageSecurityMode_None : 0;
}
