#pragma once

#include <memory>
#include <utility>

#include "uabase/string.h"
#include "uastack/export.h"

struct evp_pkey_st;

/// The public half of a key. A handle: copies share the key.
class UASDK_EXPORT UaPkiPublicKey {
public:
    UaPkiPublicKey() = default;
    bool isValid() const { return m_key != nullptr; }

private:
    friend class UaPkiRsaKeyPair;
    friend class UaPkiCertificate;
    explicit UaPkiPublicKey(std::shared_ptr<evp_pkey_st> key) : m_key(std::move(key)) {}
    std::shared_ptr<evp_pkey_st> m_key;
};

/// The private half of a key. A handle: copies share the key.
class UASDK_EXPORT UaPkiPrivateKey {
public:
    UaPkiPrivateKey() = default;
    bool isValid() const { return m_key != nullptr; }

private:
    friend class UaPkiRsaKeyPair;
    friend class UaPkiCertificate;
    explicit UaPkiPrivateKey(std::shared_ptr<evp_pkey_st> key) : m_key(std::move(key)) {}
    std::shared_ptr<evp_pkey_st> m_key;
};

/// An RSA key pair in memory. Movable, not copyable.
class UASDK_EXPORT UaPkiRsaKeyPair {
public:
    /// Makes a new pair of 1024 to 8192 bits. With another size, or when the system yields no random numbers,
    /// the pair is not valid.
    explicit UaPkiRsaKeyPair(int bits);
    UaPkiRsaKeyPair(const UaPkiRsaKeyPair&) = delete;
    UaPkiRsaKeyPair& operator=(const UaPkiRsaKeyPair&) = delete;
    UaPkiRsaKeyPair(UaPkiRsaKeyPair&&) noexcept = default;
    UaPkiRsaKeyPair& operator=(UaPkiRsaKeyPair&&) noexcept = default;

    bool isValid() const { return m_key != nullptr; }
    UaPkiPublicKey publicKey() const { return UaPkiPublicKey(m_key); }
    UaPkiPrivateKey privateKey() const { return UaPkiPrivateKey(m_key); }

    /// Writes the private key as PKCS#8 PEM, readable by its owner only (mode 0600). It is encrypted
    /// (AES-256) when `password` is neither null nor empty. The file appears whole or, on failure, stays as
    /// it was. Returns 0 on success, -1 on failure.
    int toPEMFile(const char* path, const char* password) const;
    int toPEMFile(const UaString& path, const char* password) const;

private:
    std::shared_ptr<evp_pkey_st> m_key;
};
