#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <openssl/evp.h>

#include "uabase/byte_string.h"
#include "uabase/byte_view.h"
#include "uapki/security_policy.h"
#include "uastack/key.h"

/// Keys and certificates of any kind for the cryptography of secure channels, made while the test runs.
namespace channel {

using Bytes = std::vector<OpcUa_Byte>;
using Key = std::shared_ptr<EVP_PKEY>;

constexpr const char* policyPrefix = "http://opcfoundation.org/UA/SecurityPolicy#";
constexpr const char* protectingPolicies[] = {"Basic128Rsa15", "Basic256", "Basic256Sha256",
                                              "Aes128_Sha256_RsaOaep", "Aes256_Sha256_RsaPss"};

const UaPkiSecurityPolicy& policy(const char* name);

inline UaByteView view(const Bytes& bytes) {
    return {bytes.data(), bytes.size()};
}
UaByteView view(const std::string& text);
Bytes fromHex(const std::string& digits);
/// 0, 1, 2, ...
Bytes counted(std::size_t count);

/// Made at the first call for this number of bits and `which`.
Key rsaKey(int bits, int which = 0);
/// A modulus without a known factor, for what never gets to the private key.
Key publicRsaKey(int bits);
/// As OpenSSL names them: "EC", "X25519", "ED25519", "DSA", "RSA-PSS".
Key otherKey(const std::string& type);

/// Names the key; signed by a key of its own choice.
UaByteString certificateOf(const Key& key);
UaByteString joined(const UaByteString& first, const UaByteString& second);

/// The record of a private key.
class Record {
public:
    explicit Record(const Key& key);
    Record(OpcUa_KeyType type, const Bytes& bytes);
    ~Record() { OpcUa_Key_Clear(&m_key); }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    const OpcUa_Key& key() const { return m_key; }
    Bytes bytes() const { return {m_key.bytes.data, m_key.bytes.data + m_key.bytes.length}; }

private:
    OpcUa_Key m_key{};
};

} // namespace channel
