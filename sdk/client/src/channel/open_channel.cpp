#include "channel/open_channel.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "socket/endpoint_url.h"
#include "socket/name_resolution.h"
#include "uabase/trace.h"

namespace UaClientSdk {

std::unique_ptr<SecureChannel> openChannel(const UaString& url, const ChannelSecurity& security,
                                           std::uint32_t requestedLifetime, const Deadline& deadline,
                                           UaStatus& status, ChannelFailure& failure) {
    EndpointUrl target;
    status = EndpointUrl::parse(url, target);
    if (status.isBad()) {
        UaTrace::write(UaTrace::Errors, "connect", "\"%s\" is not an opc.tcp:// URL", url.toUtf8());
        return nullptr;
    }
    std::vector<std::string> addresses;
    status = resolveHost(target.host, deadline, addresses);
    if (status.isBad())
        return nullptr;
    for (std::size_t i = 0; i < addresses.size() && !failure.wasReached; ++i) {
        if (i > 0 && deadline.expired())
            break;
        // What is left is shared among the addresses, so that a dead one does not use up the time of the
        // others. Who has answered has all of it: another address would only repeat what he says.
        const Deadline share(deadline.remaining() / static_cast<int>(addresses.size() - i));
        auto channel = std::make_unique<SecureChannel>(security, requestedLifetime);
        const UaStatus opened = channel->open(url, addresses[i], target.port, share, deadline);
        if (!opened.isBad()) {
            status = opened;
            return channel;
        }
        UaTrace::write(UaTrace::Errors, "connect", "%s at address %s: %s", url.toUtf8(), addresses[i].c_str(),
                       opened.name());
        if (channel->wasConnected() || !failure.wasConnected) {
            status = opened;
            failure = {channel->wasConnected(), channel->wasReached(), channel->wasEndedByServer(),
                       channel->serversWord() == status.statusCode()};
        }
    }
    return nullptr;
}

} // namespace UaClientSdk
