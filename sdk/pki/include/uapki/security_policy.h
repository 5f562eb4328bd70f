#pragma once

#include <cstddef>
#include <string_view>

#include "uabase/string.h"
#include "uastack/export.h"

/// One security policy (OPC UA Part 7, 6.6): what it is called, how strong it is, and what it uses. There is
/// no other table of them.
struct UASDK_EXPORT UaPkiSecurityPolicy {
    enum class Signature { None, RsaPkcs15Sha1, RsaPkcs15Sha256, RsaPssSha256 };
    enum class Encryption { None, RsaPkcs15, RsaOaepSha1, RsaOaepSha256 };
    enum class Digest { None, Sha1, Sha256 };

    const char* uri;
    /// What follows the '#' of the URI.
    const char* name;
    /// As connect parameters and discovery results number it, from 0.
    int number;
    /// A greater one is to be preferred; 0 protects nothing.
    int strength;

    Signature asymmetricSignature;
    const char* asymmetricSignatureUri;
    Encryption asymmetricEncryption;
    const char* asymmetricEncryptionUri;
    int minimumKeyBits;
    int maximumKeyBits;

    /// Of the keyed hash that signs messages, and of key derivation.
    Digest digest;
    /// Bytes. AES-CBC is the only symmetric encryption; its block is of 16 bytes.
    std::size_t signatureLength;
    std::size_t signatureKeyLength;
    std::size_t encryptionKeyLength;
    std::size_t nonceLength;

    static constexpr std::size_t encryptionBlockLength = 16;

    bool isNone() const { return strength == 0; }

    /// What the URI of every policy begins with.
    static constexpr const char* uriPrefix = "http://opcfoundation.org/UA/SecurityPolicy#";

    /// Null for a policy that this client does not know.
    static const UaPkiSecurityPolicy* find(const UaString& uri);
    static const UaPkiSecurityPolicy* named(std::string_view name);
    static const UaPkiSecurityPolicy* numbered(int number);
    static const UaPkiSecurityPolicy& none();
};
