#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "uabase/arrays.h"
#include "uaclient/security_info.h"
#include "uapki/asymmetric_keys.h"

/// The other side of a secured session, in pieces: identities, endpoint lists, and a server's answer.
namespace security_peer {

constexpr const char* serverUri = "urn:test:server";

/// A certificate with its key.
struct Identity {
    Identity() { OpcUa_Key_Initialize(&key); }
    ~Identity() { OpcUa_Key_Clear(&key); }
    Identity(const Identity&) = delete;
    Identity& operator=(const Identity&) = delete;

    UaByteString certificate;
    UaByteString chain; ///< the certificate with its issuer behind it
    OpcUa_Key key;
};

/// Made once for each name and size.
const Identity& identity(const char* name, int keyBits = 2048);

/// A certificate with a key of that kind: "EC", "X25519" or "ED25519".
UaByteString certificateWithKey(const std::string& kind);
/// Another certificate of the server's key.
UaByteString renewedCertificate();

std::string policyUri(const std::string& name);
UaByteString bytesOf(const std::string& text);

struct Token {
    int type; ///< any number that fits on the wire
    std::string id;
    std::string policy; ///< a policy's name, a URI, or nothing: the endpoint's
    std::string issuedType{};
};

struct Endpoint {
    std::string policy;
    int mode; ///< likewise
    std::vector<Token> tokens;
    UaByteString certificate = identity("server").certificate;
    UA_Byte level = 0;
    std::string url = "opc.tcp://host:4840";
    std::string transport = "http://opcfoundation.org/UA-Profile/Transport/uatcp-uasc-uabinary";
};

void attach(const std::vector<Endpoint>& endpoints, UA_EndpointDescription*& target, std::size_t& count);

/// Security info whose material comes from memory.
class Info : public UaClientSdk::SessionSecurityInfo {
public:
    void useOwn(const Identity& own);
    void offer(const std::vector<Endpoint>& endpoints);
};

/// What a server answers; whoever tests changes it at will.
class Answer {
public:
    Answer() { UA_CreateSessionResponse_init(&m_response); }
    ~Answer() { UA_CreateSessionResponse_clear(&m_response); }
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;

    void setNonce(std::size_t length);
    void setCertificate(const UaByteString& certificate);
    void setEndpoints(const std::vector<Endpoint>& endpoints);
    void setSignature(const std::vector<OpcUa_Byte>& bytes);
    /// As a server with that identity signs the request under that policy.
    void sign(const UaPkiSecurityPolicy& policy, const OpcUa_Key& key, const UaByteString& clientCertificate,
              const UA_ByteString& clientNonce);

    const UA_CreateSessionResponse& response() const { return m_response; }
    std::vector<OpcUa_Byte> nonce() const;

private:
    UA_CreateSessionResponse m_response;
};

std::vector<OpcUa_Byte> joined(const UaByteString& certificate, const UA_ByteString& nonce);
/// Whether the holder of the certificate has signed these bytes.
bool isSignedBy(const UaByteString& certificate, const UaPkiSecurityPolicy& policy,
                const std::vector<OpcUa_Byte>& data, const UA_SignatureData& signature);

} // namespace security_peer
