#pragma once

#include <cstddef>

#include <openssl/crypto.h>

#include "file_access.h"

namespace pki {

/// Overwritten when they go.
struct SecretBytes {
    SecretBytes() = default;
    explicit SecretBytes(std::size_t count) : bytes(count) {}
    ~SecretBytes() { OPENSSL_cleanse(bytes.data(), bytes.size()); }
    SecretBytes(const SecretBytes&) = delete;
    SecretBytes& operator=(const SecretBytes&) = delete;

    Bytes bytes;
};

} // namespace pki
