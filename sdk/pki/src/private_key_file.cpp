#include "private_key_file.h"

#include <cstring>
#include <string>

#include <openssl/pem.h>

#include "file_access.h"
#include "openssl_handles.h"
#include "secret_bytes.h"
#include "uabase/trace.h"

namespace pki {
namespace {

struct PasswordQuestion {
    const char* password;
    bool asked = false;
};

/// Always set: without a callback OpenSSL asks on the terminal.
int answerPassword(char* buffer, int size, int, void* data) {
    auto* question = static_cast<PasswordQuestion*>(data);
    question->asked = true;
    std::size_t length = question->password != nullptr ? std::strlen(question->password) : 0;
    if (length == 0 || length > static_cast<std::size_t>(size)) {
        return -1;
    }
    std::memcpy(buffer, question->password, length);
    return static_cast<int>(length);
}

UaStatus storeKey(const EVP_PKEY* privateKey, OpcUa_Key* key) {
    if (EVP_PKEY_is_a(privateKey, "RSA") != 1) {
        return OpcUa_Key_Assign(key, OpcUa_KeyType_OtherPrivate, nullptr, 0);
    }
    int length = i2d_PrivateKey(privateKey, nullptr);
    if (length <= 0) {
        return OpcUa_BadDecodingError;
    }
    SecretBytes der(static_cast<std::size_t>(length));
    unsigned char* target = der.bytes.data();
    i2d_PrivateKey(privateKey, &target);
    return OpcUa_Key_Assign(key, OpcUa_KeyType_RsaPrivate, der.bytes.data(), der.bytes.size());
}

UaStatus readKey(const UaString& file, const char* password, OpcUa_Key* key, std::string& problem) {
    SecretBytes content;
    UaStatus status = readFile(file.toUtf8(), keyFileLimit, content.bytes, problem);
    if (status.isBad()) {
        return status.statusCode() == OpcUa_BadNotFound ? status : UaStatus(OpcUa_BadNotReadable);
    }
    ErrorQueueGuard guard;
    PasswordQuestion question{password};
    BioPtr input(BIO_new_mem_buf(content.bytes.data(), static_cast<int>(content.bytes.size())));
    KeyPtr privateKey(input != nullptr
                          ? PEM_read_bio_PrivateKey(input.get(), nullptr, answerPassword, &question)
                          : nullptr);
    if (privateKey != nullptr) {
        return storeKey(privateKey.get(), key);
    }
    problem = question.asked ? "the key is encrypted and the password does not open it"
                             : "no PEM private key in it";
    return question.asked ? OpcUa_BadSecurityChecksFailed : OpcUa_BadDecodingError;
}

} // namespace

UaStatus loadPrivateKeyFile(const UaString& file, const char* password, OpcUa_Key* key) {
    std::string problem;
    UaStatus status = readKey(file, password, key, problem);
    if (status.isBad()) {
        UaTrace::write(UaTrace::Errors, "pki", "no private key read from %s: %s (%s)", file.toUtf8(),
                       problem.c_str(), status.name());
        return status;
    }
    const std::string others = whoElseMay(Access::Read, file.text());
    if (!others.empty()) {
        UaTrace::write(UaTrace::Warnings, "pki",
                       "the private key %s is no secret: %s may read it; give it the mode 0600",
                       file.toUtf8(), others.c_str());
    }
    return status;
}

} // namespace pki
