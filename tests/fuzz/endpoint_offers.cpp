// The endpoints that a query and a session tell, the choice among them, and whether a user's secret goes out:
// policy and mode that are wanted, the user, what the answer leaves out, and the endpoints. offersIn() says
// what each is.

#include "session/endpoint_offers.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include <open62541/types_generated_handling.h>

#include "channel_peer.h"
#include "fixed_nonces.h"
#include "fuzz_target.h"
#include "input.h"
#include "session/security_material.h"
#include "session/session_security.h"
#include "uapki/certificate.h"
#include "uastack/wire_number.h"

using namespace UaClientSdk;

namespace {

constexpr unsigned int mostEndpoints = 12;
constexpr const char* password = "pa55-w0rd";

std::string policyUri(unsigned int which) {
    static const char* const names[] = {"None",           "Basic128Rsa15",         "Basic256",
                                        "Basic256Sha256", "Aes128_Sha256_RsaOaep", "Aes256_Sha256_RsaPss",
                                        "Unknown"};
    const unsigned int index = which % (std::size(names) + 1);
    return index == std::size(names)
               ? ""
               : std::string("http://opcfoundation.org/UA/SecurityPolicy#") + names[index];
}

UA_String copyOf(const std::string& text) {
    return UA_String_fromChars(text.c_str());
}

UA_ByteString copyOf(UaByteView bytes) {
    const UA_ByteString view{bytes.size, const_cast<OpcUa_Byte*>(bytes.data)};
    UA_ByteString copy{};
    UA_ByteString_copy(&view, &copy);
    return copy;
}

/// Any number that fits on the wire, and the small ones more often.
template <typename Enumeration>
void setEnumeration(Enumeration& target, Input& input) {
    std::uint32_t number = input.number<std::uint8_t>();
    number = number < 128 ? number % 4 : number << 24U;
    std::memcpy(&target, &number, sizeof target);
}

const ChannelSides& sides() {
    static const ChannelSides both("Basic128Rsa15", OpcUa_MessageSecurityMode_Sign);
    return both;
}

/// None, the server's, that with something behind it, another, or any bytes.
UA_ByteString certificateIn(Input& input) {
    const unsigned int which = input.number<std::uint8_t>() % 8;
    const UaByteView server(sides().client.serverCertificate.view());
    Bytes bytes;
    if (which > 0 && which < 6)
        bytes.assign(server.data, server.data + server.size);
    if (which == 5 || which == 7) {
        const UaByteView more = input.bytes(input.number<std::uint8_t>());
        bytes.insert(bytes.end(), more.data, more.data + more.size);
    }
    return copyOf(which == 6 ? UaByteView(sides().client.ownCertificate.view()) : viewOf(bytes));
}

/// Tokens: type, policy, id.
void addTokens(UA_EndpointDescription& endpoint, Input& input) {
    endpoint.userIdentityTokensSize = input.number<std::uint8_t>() % 4;
    endpoint.userIdentityTokens = static_cast<UA_UserTokenPolicy*>(
        UA_Array_new(endpoint.userIdentityTokensSize, &UA_TYPES[UA_TYPES_USERTOKENPOLICY]));
    for (std::size_t i = 0; i < endpoint.userIdentityTokensSize; ++i) {
        UA_UserTokenPolicy& token = endpoint.userIdentityTokens[i];
        setEnumeration(token.tokenType, input);
        token.securityPolicyUri = copyOf(policyUri(input.number<std::uint8_t>()));
        token.policyId = copyOf(std::to_string(input.number<std::uint8_t>() % 4));
    }
}

/// How many, and each: policy, mode, security level, transport (255: another), certificate, tokens. With 0
/// for the wanted, policy and mode are those.
UaEndpointDescriptions offersIn(Input& input, const WantedSecurity& wanted) {
    UaEndpointDescriptions offers;
    offers.create(input.number<std::uint8_t>() % mostEndpoints);
    for (OpcUa_UInt32 i = 0; i < offers.length(); ++i) {
        UA_EndpointDescription& endpoint = offers[i];
        const unsigned int policy = input.number<std::uint8_t>();
        if (policy < 128) {
            endpoint.securityPolicyUri = copyOf(wanted.policyUri.text());
            endpoint.securityMode = wanted.mode;
        } else {
            endpoint.securityPolicyUri = copyOf(policyUri(policy));
            setEnumeration(endpoint.securityMode, input);
        }
        endpoint.securityLevel = input.number<std::uint8_t>() % 3;
        endpoint.transportProfileUri =
            copyOf(input.number<std::uint8_t>() == 255
                       ? "http://opcfoundation.org/UA-Profile/Transport/https-uabinary"
                       : "http://opcfoundation.org/UA-Profile/Transport/uatcp-uasc-uabinary");
        endpoint.serverCertificate = certificateIn(input);
        addTokens(endpoint, input);
    }
    return offers;
}

/// Those of the query whose bits are set.
UaEndpointDescriptions repeated(const UaEndpointDescriptions& offers, unsigned int which) {
    UaEndpointDescriptions copies;
    copies.create(offers.length());
    OpcUa_UInt32 count = 0;
    for (OpcUa_UInt32 i = 0; i < offers.length(); ++i)
        if ((which >> (i % 8) & 1U) != 0)
            copies.replace(count++, offers[i]);
    UaEndpointDescriptions kept;
    kept.create(count);
    for (OpcUa_UInt32 i = 0; i < count; ++i)
        kept.replace(i, copies[i]);
    return kept;
}

// ---- The choice

/// -1 for a policy that is not known.
int strengthOf(const UA_UserTokenPolicy& token, const UA_EndpointDescription& endpoint) {
    if (wireNumber(token.tokenType) == UA_USERTOKENTYPE_ANONYMOUS)
        return 0;
    const UA_String& own = token.securityPolicyUri;
    const UaPkiSecurityPolicy* policy =
        UaPkiSecurityPolicy::find(UaString(own.length > 0 ? own : endpoint.securityPolicyUri));
    return policy != nullptr ? policy->strength : -1;
}

void checkChoice(const EndpointOffers& offers, const WantedSecurity& wanted, UA_UserTokenType userType,
                 const EndpointChoice& choice) {
    int strongest = -1;
    bool isOffered = false;
    bool hasUnknown = false;
    for (const UA_EndpointDescription& endpoint : offers) {
        if (!wanted.isThatOf(endpoint)) {
            require(choice.endpoint != &endpoint, "what is chosen is what is wanted");
            continue;
        }
        isOffered = true;
        for (std::size_t i = 0; i < endpoint.userIdentityTokensSize; ++i) {
            const UA_UserTokenPolicy& token = endpoint.userIdentityTokens[i];
            const bool isUsers = wireNumber(token.tokenType) == userType;
            require(isUsers || choice.token != &token, "the token is the user's");
            const int strength = isUsers ? strengthOf(token, endpoint) : -1;
            strongest = std::max(strongest, strength);
            hasUnknown = hasUnknown || (isUsers && strength < 0);
        }
    }
    require(choice.isOffered == isOffered && choice.hasUnknownProtection == hasUnknown,
            "the choice tells what there is");
    require((choice.endpoint != nullptr) == (strongest >= 0), "a choice is made where there is one");
    if (choice.endpoint == nullptr)
        return;
    require(choice.protection->strength == strongest, "the strongest token is chosen");
    const UA_UserTokenPolicy* const first = choice.endpoint->userIdentityTokens;
    require(choice.token >= first && choice.token < first + choice.endpoint->userIdentityTokensSize,
            "the token is the endpoint's");
}

void checkComparison(const EndpointOffers& query, const EndpointOffers& session, const WantedSecurity& wanted,
                     UA_UserTokenType userType, const EndpointChoice& choice) {
    if (choice.endpoint == nullptr)
        return;
    for (const Compared compared : {Compared::WithWantedSecurity, Compared::All}) {
        require(areSameOffers(query, query, wanted, *choice.endpoint, compared),
                "a list is the same as itself");
    }
    const bool allAreSame = areSameOffers(session, query, wanted, *choice.endpoint, Compared::All);
    if (areSameOffers(session, query, wanted, *choice.endpoint, Compared::WithWantedSecurity)) {
        const EndpointChoice again = chooseEndpoint(session, wanted, userType);
        require(again.endpoint != nullptr && again.protection->strength == choice.protection->strength,
                "with the same offers no other protection would be chosen");
    } else {
        require(!allAreSame, "what differs in part differs as a whole");
    }
}

// ---- The attempt to connect

class Info : public SessionSecurityInfo {
public:
    explicit Info(const WantedSecurity& wanted) {
        m_material->certificate = sides().client.ownCertificate;
        OpcUa_Key_Assign(&m_material->privateKey, OpcUa_KeyType_RsaPrivate, m_material->certificate.data(),
                         1);
        securityPolicyUri = wanted.policyUri;
        messageSecurityMode = wanted.mode;
        serverCertificate = sides().client.serverCertificate;
        doServerCertificateVerify = false;
    }
};

/// A server's answer to the creation of a session; bits say what is missing.
struct SessionAnswer : UA_CreateSessionResponse {
    SessionAnswer(const UA_CreateSessionRequest& request, const UaPkiSecurityPolicy* policy,
                  UaEndpointDescriptions& offers, unsigned int missing)
        : UA_CreateSessionResponse{} {
        const Bytes nonce((missing & 1U) != 0 ? 31 : 32, 7);
        serverNonce = copyOf(viewOf(nonce));
        if ((missing & 2U) == 0)
            serverCertificate = copyOf(sides().client.serverCertificate.view());
        UaPkiOwnKey key;
        if ((missing & 4U) == 0 && policy != nullptr && !policy->isNone() &&
            UaPkiOwnKey::open(*policy, OpcUa_Key{}, key).isGood()) {
            const Bytes signature =
                signCertificateAndNonce(key, sides().client.ownCertificate, request.clientNonce);
            serverSignature.signature = copyOf(viewOf(signature));
        }
        serverEndpointsSize = offers.length();
        serverEndpoints = offers.detach();
    }
    ~SessionAnswer() { UA_CreateSessionResponse_clear(this); }
    SessionAnswer(const SessionAnswer&) = delete;
    SessionAnswer& operator=(const SessionAnswer&) = delete;
};

bool holdsPassword(const UA_ActivateSessionRequest& request) {
    const UA_ExtensionObject& token = request.userIdentityToken;
    if (token.encoding != UA_EXTENSIONOBJECT_DECODED_NODELETE ||
        token.content.decoded.type != &UA_TYPES[UA_TYPES_USERNAMEIDENTITYTOKEN]) {
        return false;
    }
    const auto& content = static_cast<const UA_UserNameIdentityToken*>(token.content.decoded.data)->password;
    const std::string text(content.data, content.data + content.length);
    return text.find(password) != std::string::npos;
}

/// Whether anything but clear text is offered for a password.
bool offersProtection(const EndpointOffers& offers, const WantedSecurity& wanted) {
    return std::any_of(offers.begin(), offers.end(), [&wanted](const UA_EndpointDescription& endpoint) {
        const UA_UserTokenPolicy* const tokens = endpoint.userIdentityTokens;
        return wanted.isThatOf(endpoint) &&
               std::any_of(tokens, tokens + endpoint.userIdentityTokensSize,
                           [&endpoint](const UA_UserTokenPolicy& token) {
                               return wireNumber(token.tokenType) == UA_USERTOKENTYPE_USERNAME &&
                                      strengthOf(token, endpoint) != 0;
                           });
    });
}

void connect(const UaEndpointDescriptions& query, UaEndpointDescriptions& session,
             const WantedSecurity& wanted, UA_UserTokenType userType, unsigned int missing) {
    Info info(wanted);
    info.setOffers(query);
    if (userType == UA_USERTOKENTYPE_USERNAME)
        info.setUserPasswordUserIdentity("operator", password);
    const UaString url("opc.tcp://plant:4840");
    SessionSecurity security(info, url);
    UA_CreateSessionRequest create{};
    if (security.prepare().isBad() || security.fill(create).isBad())
        return;
    const UaPkiSecurityPolicy* const policy = UaPkiSecurityPolicy::find(wanted.policyUri);
    const bool isSecured = policy != nullptr && !policy->isNone();
    // A session may tell less than the query: what it does not repeat is not used.
    const bool wasHidden = offersProtection(session, wanted) && !offersProtection(query, wanted);
    const SessionAnswer answer(create, policy, session, missing);
    UA_ActivateSessionRequest activate{};
    if (security.check(answer).isBad() || security.fill(activate, answer).isBad())
        return;
    require(!isSecured || (missing & 7U) == 0, "a secured session needs nonce, certificate and signature");
    if (holdsPassword(activate)) {
        require(!offersProtection(query, wanted) || wanted.mode == OpcUa_MessageSecurityMode_SignAndEncrypt,
                "a password is protected where it can be");
        require(!wasHidden, "nobody has hidden the protection from the query");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    startNonces();
    Input input(data, size);
    const std::string policy = policyUri(input.number<std::uint8_t>());
    const WantedSecurity wanted{UaString(policy),
                                static_cast<OpcUa_MessageSecurityMode>(input.number<std::uint8_t>() % 4)};
    const auto userType =
        (input.number<std::uint8_t>() & 1U) != 0 ? UA_USERTOKENTYPE_USERNAME : UA_USERTOKENTYPE_ANONYMOUS;
    const unsigned int missing = input.number<std::uint8_t>();
    const unsigned int which = input.number<std::uint8_t>();
    const UaEndpointDescriptions query = offersIn(input, wanted);
    // Of the session's list some are those of the query, or none is.
    UaEndpointDescriptions session = which > 0 ? repeated(query, which) : offersIn(input, wanted);

    const EndpointChoice choice = chooseEndpoint(query, wanted, userType);
    checkChoice(query, wanted, userType, choice);
    checkComparison(query, session, wanted, userType, choice);
    connect(query, session, wanted, userType, missing);
    return 0;
}
