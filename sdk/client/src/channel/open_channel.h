#pragma once

#include <cstdint>
#include <memory>

#include "channel/secure_channel.h"

namespace UaClientSdk {

/// Where an attempt to open a channel ended.
struct ChannelFailure {
    bool wasConnected = false; ///< something accepted the connection
    bool wasReached = false;   ///< and answered as a server does
    bool endedByServer = false;
    bool isServersWord = false; ///< the status is what the server itself said
};

/// Opens a channel to the host that `url` names, at the first of its addresses where a server answers. Null
/// on failure: `status` and `failure` tell of the address that came furthest, the last of these. `deadline`
/// bounds everything, name resolution included.
std::unique_ptr<SecureChannel> openChannel(const UaString& url, const ChannelSecurity& security,
                                           std::uint32_t requestedLifetime, const Deadline& deadline,
                                           UaStatus& status, ChannelFailure& failure);

} // namespace UaClientSdk
