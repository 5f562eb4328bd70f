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

} // namespace UaClientSdk
