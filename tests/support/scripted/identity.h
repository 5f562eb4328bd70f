#pragma once

#include <string>

#include "support/scripted/bytes.h"

namespace scripted {

/// A certificate with its private key, both DER.
struct Identity {
    Bytes certificate;
    Bytes privateKey;
    std::string name;
};

enum class KeyKind { Rsa, P256, Ed25519, X25519 };

/// What a certificate is made of.
struct IdentityPlan {
    KeyKind kind = KeyKind::Rsa;
    int bits = 2048; ///< of an RSA key
    std::string name = "scripted server";
    std::string applicationUri = "urn:scripted:server";
    /// Host names in it, of 60 bytes each.
    int hostNames = 1;
    bool isAuthority = false;
};

/// Self-signed, where the key can sign; an X25519 key's certificate is signed by a key of its own.
Identity makeIdentity(const IdentityPlan& plan);
/// Issued by another one.
Identity makeIdentity(const IdentityPlan& plan, const Identity& issuer);
/// One of the usual plan, made once a process: keys take their time.
const Identity& usualIdentity();

} // namespace scripted
