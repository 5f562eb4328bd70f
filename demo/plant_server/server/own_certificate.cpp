#include "server/own_certificate.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

#include "uapki/certificate.h"

namespace plant_server {
namespace {

namespace fs = std::filesystem;

constexpr int keyBits = 2048;
constexpr OpcUa_Int64 tenYears = 10LL * 365 * 24 * 3600;
/// A client whose clock is behind takes the certificate all the same.
constexpr OpcUa_UInt32 oneDay = 24 * 3600;

/// A folder that nobody else can enter and that is gone with the object.
class PrivateFolder {
public:
    PrivateFolder() {
        std::string pattern = fs::temp_directory_path() / "plant_server.XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("cannot make a temporary folder: " + std::string(std::strerror(errno)));
        m_path = pattern;
    }
    ~PrivateFolder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    const fs::path& path() const { return m_path; }

private:
    fs::path m_path;
};

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream.is_open() || content.empty())
        throw std::runtime_error("cannot read " + file.string());
    return content;
}

bool isAddress(const std::string& host) {
    in_addr parsed{};
    return inet_pton(AF_INET, host.c_str(), &parsed) == 1;
}

UaPkiCertificate selfSigned(const UaPkiRsaKeyPair& keys, const std::string& applicationUri,
                            const std::string& host) {
    UaPkiIdentity name;
    name.commonName = "Plant server";
    name.organization = "Kestrova";
    UaPkiCertificateInfo info;
    info.uri = applicationUri;
    if (isAddress(host))
        info.ipAddresses = {host};
    else
        info.dnsNames = {host};
    info.validTime = tenYears;
    info.backdateTime = oneDay;
    return UaPkiCertificate(info, name, keys.publicKey(), name, keys.privateKey(), false,
                            UaPkiCertificate::Sha256);
}

/// The key goes first: a folder that holds a certificate is complete.
void make(const fs::path& certificate, const fs::path& key, const std::string& applicationUri,
          const std::string& host) {
    const UaPkiRsaKeyPair keys(keyBits);
    if (!keys.isValid() || keys.toPEMFile(key.c_str(), nullptr) != 0 ||
        selfSigned(keys, applicationUri, host).toDERFile(certificate.c_str()) != 0)
        throw std::runtime_error("cannot make a certificate in " + certificate.parent_path().string());
}

OwnCertificate madeIn(const fs::path& folder, const std::string& applicationUri, const std::string& host) {
    const fs::path certificate = folder / "plant-server.der";
    const fs::path key = folder / "plant-server.key";
    if (!fs::exists(certificate))
        make(certificate, key, applicationUri, host);
    return {contentOf(certificate), contentOf(key)};
}

} // namespace

OwnCertificate ownCertificate(const SecurityOptions& options, const std::string& applicationUri,
                              const std::string& host) {
    if (!options.certificate.empty())
        return {contentOf(options.certificate), contentOf(options.privateKey)};
    if (options.pki.empty())
        return madeIn(PrivateFolder().path(), applicationUri, host);
    std::error_code failure;
    fs::create_directories(options.pki, failure);
    if (failure)
        throw std::runtime_error("cannot make " + options.pki + ": " + failure.message());
    return madeIn(options.pki, applicationUri, host);
}

} // namespace plant_server
