#pragma once

#include "uabase/byte_string.h"
#include "uapki/security_policy.h"
#include "uastack/key.h"
#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// What a secure channel is opened with.
struct ChannelSecurity {
    const UaPkiSecurityPolicy* policy = &UaPkiSecurityPolicy::none();
    OpcUa_MessageSecurityMode mode = OpcUa_MessageSecurityMode_None;
    /// DER. With the policy None all of them are empty.
    UaByteString ownCertificate;
    const OpcUa_Key* ownKey = nullptr; ///< used while the channel is opened, and not kept
    UaByteString serverCertificate;    ///< that was decided on, without issuers behind it

    bool isNone() const { return policy->isNone(); }
};

inline const char* modeName(int mode) {
    switch (mode) {
    case OpcUa_MessageSecurityMode_None:
        return "None";
    case OpcUa_MessageSecurityMode_Sign:
        return "Sign";
    case OpcUa_MessageSecurityMode_SignAndEncrypt:
        return "SignAndEncrypt";
    default:
        return "invalid";
    }
}

} // namespace UaClientSdk
