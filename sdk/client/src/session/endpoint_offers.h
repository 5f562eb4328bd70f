#pragma once

#include <cstddef>
#include <string>

#include "uabase/arrays.h"
#include "uabase/byte_string.h"
#include "uabase/string.h"
#include "uapki/security_policy.h"
#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// Endpoints that a server told, which belong to others.
struct EndpointOffers {
    EndpointOffers(const UA_EndpointDescription* endpoints, std::size_t number)
        : first(endpoints), count(number) {}
    EndpointOffers(const UaEndpointDescriptions& endpoints)
        : EndpointOffers(endpoints.rawData(), endpoints.length()) {}

    const UA_EndpointDescription* begin() const { return first; }
    const UA_EndpointDescription* end() const { return first + count; }

    const UA_EndpointDescription* first;
    std::size_t count;
};

/// The policy and the mode that a session is to have.
struct WantedSecurity {
    UaString policyUri;
    OpcUa_MessageSecurityMode mode;

    /// Whether the endpoint has both, over the transport that this client speaks.
    bool isThatOf(const UA_EndpointDescription& endpoint) const;
    /// For messages.
    std::string text() const;
};

/// Policy and mode of an endpoint, for messages.
std::string securityText(const UA_EndpointDescription& endpoint);

/// The policy None has the mode None, and no other policy has it.
bool goTogether(const UaPkiSecurityPolicy& policy, OpcUa_MessageSecurityMode mode);

/// An endpoint, and the token policy by which its user is to be told.
struct EndpointChoice {
    /// Whether an endpoint has what is wanted, whatever users it accepts.
    bool isOffered = false;
    /// Whether one of these would protect such a token by a policy that this client does not know.
    bool hasUnknownProtection = false;
    /// Null when there is none that accepts such a user. These two belong to the offers.
    const UA_EndpointDescription* endpoint = nullptr;
    const UA_UserTokenPolicy* token = nullptr;
    /// What the token is protected by.
    const UaPkiSecurityPolicy* protection = &UaPkiSecurityPolicy::none();
};

/// Of all endpoints that have what is wanted: the one whose token policy for such a user is the strongest; of
/// equals the one with the highest security level, then the first.
EndpointChoice chooseEndpoint(const EndpointOffers& offers, const WantedSecurity& wanted,
                              UA_UserTokenType userType);

/// Which endpoints are compared.
enum class Compared { WithWantedSecurity, All };

/// Whether the endpoints that came with a session are among those that an earlier query brought, and the
/// chosen one is among them (OPC UA Part 4, 5.6.2). Looked at is what a server has to tell both times and
/// what the choice hangs on: policy, mode, token policies, security level, and the certificate where one is
/// told. URLs may differ, and so may the number: many a server tells in a session only the endpoints of the
/// URL that it was reached by.
bool areSameOffers(const EndpointOffers& ofSession, const EndpointOffers& ofQuery,
                   const WantedSecurity& wanted, const UA_EndpointDescription& chosen, Compared compared);

/// The first certificate of a chain; bytes that hold none are given back as they are.
UaByteString leafOf(const UaByteString& certificates);

} // namespace UaClientSdk
