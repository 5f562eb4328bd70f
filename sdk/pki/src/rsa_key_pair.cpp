#include "uapki/rsa_key_pair.h"

#include <cstring>

#include <openssl/pem.h>
#include <openssl/rsa.h>

#include "file_access.h"
#include "openssl_handles.h"
#include "openssl_use.h"
#include "private_key_file.h"

namespace {

constexpr int fewestBits = 1024;
constexpr int mostBits = 8192;

} // namespace

UaPkiRsaKeyPair::UaPkiRsaKeyPair(int bits) {
    const pki::OpenSslUse use;
    if (use.isPossible() && bits >= fewestBits && bits <= mostBits)
        m_key = pki::KeyPtr(EVP_RSA_gen(static_cast<unsigned int>(bits)));
}

int UaPkiRsaKeyPair::toPEMFile(const char* path, const char* password) const {
    const pki::OpenSslUse use;
    if (!use.isPossible() || !isValid() || path == nullptr)
        return -1;
    const bool encrypted = password != nullptr && *password != '\0';
    const pki::BioPtr text(BIO_new(BIO_s_secmem())); // overwritten when it is released
    const EVP_CIPHER* cipher = encrypted ? EVP_aes_256_cbc() : nullptr;
    const int length = encrypted ? static_cast<int>(std::strlen(password)) : 0;
    if (text == nullptr ||
        PEM_write_bio_PKCS8PrivateKey(text.get(), m_key.get(), cipher, encrypted ? password : nullptr, length,
                                      nullptr, nullptr) != 1) {
        return -1;
    }
    char* data = nullptr;
    const long size = BIO_get_mem_data(text.get(), &data);
    if (!pki::keepPrivateKey(path))
        return -1;
    return pki::writeFileAtomically(path, data, static_cast<std::size_t>(size), pki::keyFileMode) ? 0 : -1;
}

int UaPkiRsaKeyPair::toPEMFile(const UaString& path, const char* password) const {
    return toPEMFile(path.toUtf8(), password);
}
