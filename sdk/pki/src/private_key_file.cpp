#include "private_key_file.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <openssl/pem.h>

#include "file_access.h"
#include "openssl_handles.h"
#include "rsa_private_key.h"
#include "secret_bytes.h"
#include "uabase/byte_view.h"
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
    const std::size_t length = question->password != nullptr ? std::strlen(question->password) : 0;
    if (length == 0 || length > static_cast<std::size_t>(size))
        return -1;
    std::memcpy(buffer, question->password, length);
    return static_cast<int>(length);
}

UaStatus storeKey(const EVP_PKEY* privateKey, OpcUa_Key* key) {
    if (EVP_PKEY_is_a(privateKey, "RSA") != 1)
        return OpcUa_Key_Assign(key, OpcUa_KeyType_OtherPrivate, nullptr, 0);
    const int length = i2d_PrivateKey(privateKey, nullptr);
    if (length <= 0)
        return OpcUa_BadDecodingError;
    SecretBytes der(static_cast<std::size_t>(length));
    unsigned char* target = der.bytes.data();
    i2d_PrivateKey(privateKey, &target);
    return OpcUa_Key_Assign(key, OpcUa_KeyType_RsaPrivate, der.bytes.data(), der.bytes.size());
}

/// What a PEM text holds, wiped when it goes.
struct PemContent {
    PemContent() = default;
    ~PemContent() {
        OPENSSL_secure_free(name);
        OPENSSL_secure_clear_free(der, static_cast<std::size_t>(length));
    }
    PemContent(const PemContent&) = delete;
    PemContent& operator=(const PemContent&) = delete;

    char* name = nullptr;
    unsigned char* der = nullptr;
    long length = 0;
};

/// An RSA key as the file has it, be it PKCS #8 or its older form; empty for everything else.
UaByteView plainRsaKey(const PemContent& content) {
    const std::string name = content.name != nullptr ? content.name : "";
    const UaByteView der(content.der, static_cast<std::size_t>(content.length));
    if (name == PEM_STRING_RSA)
        return der;
    return name == PEM_STRING_PKCS8INF ? rsaKeyWithin(der) : UaByteView();
}

BioPtr readerOf(const SecretBytes& content) {
    return BioPtr(BIO_new_mem_buf(content.bytes.data(), static_cast<int>(content.bytes.size())));
}

/// False when there is none that is neither encrypted nor of another algorithm.
bool readPlainRsaKey(const SecretBytes& file, PasswordQuestion& question, OpcUa_Key* key) {
    const BioPtr input = readerOf(file);
    PemContent content;
    if (input == nullptr ||
        PEM_bytes_read_bio_secmem(&content.der, &content.length, &content.name, PEM_STRING_EVP_PKEY,
                                  input.get(), answerPassword, &question) != 1) {
        return false;
    }
    const UaByteView der = plainRsaKey(content);
    return readRsaPrivateKey(der) != nullptr &&
           OpcUa_Key_Assign(key, OpcUa_KeyType_RsaPrivate, der.data, der.size) == OpcUa_Good;
}

UaStatus readKey(const UaString& file, const char* password, OpcUa_Key* key, std::string& problem) {
    SecretBytes content;
    const UaStatus status = readFile(file.toUtf8(), keyFileLimit, content.bytes, problem);
    if (status.isBad())
        return status.statusCode() == OpcUa_BadNotFound ? status : UaStatus(OpcUa_BadNotReadable);
    const ErrorQueueGuard guard;
    PasswordQuestion question{password};
    if (readPlainRsaKey(content, question, key))
        return OpcUa_Good;
    const BioPtr input = readerOf(content);
    const KeyPtr privateKey(input != nullptr
                                ? PEM_read_bio_PrivateKey(input.get(), nullptr, answerPassword, &question)
                                : nullptr);
    if (privateKey != nullptr)
        return storeKey(privateKey.get(), key);
    problem = question.asked ? "the key is encrypted and the password does not open it"
                             : "no PEM private key in it";
    return question.asked ? OpcUa_BadSecurityChecksFailed : OpcUa_BadDecodingError;
}

/// From an attempt that got no further.
bool isKeptIn(const std::string& kept, const SecretBytes& content) {
    SecretBytes there;
    std::string problem;
    return readFile(kept, keyFileLimit, there.bytes, problem).isGood() && there.bytes == content.bytes;
}

bool writeBeside(const UaString& file, const SecretBytes& content, std::string& problem) {
    constexpr int mostKept = 100;
    for (int number = 1; number <= mostKept; ++number) {
        const std::string kept = file.text() + ".old" + (number == 1 ? "" : std::to_string(number));
        if (writeNewFile(kept, content.bytes.data(), content.bytes.size(), keyFileMode)) {
            UaTrace::write(UaTrace::Warnings, "pki", "%s is replaced; what was in it is now in %s",
                           file.toUtf8(), kept.c_str());
            return true;
        }
        const int error = errno;
        problem = errorText(error);
        if (error != EEXIST)
            return false;
        if (isKeptIn(kept, content))
            return true;
    }
    return false;
}

} // namespace

bool keepPrivateKey(const UaString& file) {
    SecretBytes content;
    std::string problem;
    const UaStatus status = readFile(file.text(), keyFileLimit, content.bytes, problem);
    const bool isEmpty = status.isGood() && content.bytes.empty();
    if (isEmpty || status.statusCode() == OpcUa_BadNotFound)
        return true;
    if (status.isGood() && writeBeside(file, content, problem))
        return true;
    UaTrace::write(UaTrace::Errors, "pki", "cannot write %s: %s; what is in it cannot be kept beside it",
                   file.toUtf8(), problem.c_str());
    return false;
}

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
