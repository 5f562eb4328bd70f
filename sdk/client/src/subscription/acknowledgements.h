#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// The messages of subscriptions that the server is still to be told of: that they have come, and need not be
/// kept any longer (OPC UA Part 4, 5.13.5).
class Acknowledgements {
public:
    using List = std::vector<UA_SubscriptionAcknowledgement>;

    /// Beyond that the first are forgotten: a server keeps but a few messages, and lets the oldest go.
    static constexpr std::size_t most = 1000;

    void note(std::uint32_t subscriptionId, std::uint32_t number);
    /// All of them, for the next request.
    List takeAll();
    void forget(std::uint32_t subscriptionId);

private:
    List m_noted;
};

} // namespace UaClientSdk
