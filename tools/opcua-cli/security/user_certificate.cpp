#include "security/user_certificate.h"

#include <cerrno>
#include <chrono>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <sys/file.h>
#include <system_error>

#include "failure.h"
#include "files/descriptor.h"
#include "files/library_files.h"
#include "interrupt.h"
#include "security/certificate.h"

namespace opcua_cli {
namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
    try {
        return readSmallFile(file);
    } catch (const std::exception& error) {
        throw usageFailure("cannot read " + file.string() + ": " + error.what());
    }
}

/// How the targets of our own links begin, which shows that nobody else made them: "/./home/otto/user.der".
constexpr const char* targetPrefix = "/.";

bool isOwnLink(const fs::path& link) {
    std::error_code error;
    const std::string target = fs::read_symlink(link, error).string();
    return target.compare(0, 3, targetPrefix + std::string("/")) == 0;
}

/// Where there are no locks, runs with different certificates must not meet.
void lockDirectory(const Descriptor& directory, const fs::path& path) {
    constexpr std::chrono::milliseconds pause{20};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (directory.isOpen() && flock(directory.number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        if (std::chrono::steady_clock::now() >= deadline)
            throw Failure(ExitCode::Failed,
                          {"another run of this program keeps " + path.string() + " locked", {}});
        pauseFor(pause);
    }
}

} // namespace

void checkUserCertificate(const UserCertificate& files) {
    if (files.certificate.empty())
        return;
    try {
        certificateFromDer(contentOf(files.certificate));
    } catch (const std::invalid_argument&) {
        throw usageFailure(files.certificate.string() + " is no certificate in DER form",
                           "openssl x509 -in FILE -outform der -out FILE.der");
    }
    const std::string key = contentOf(files.key);
    const bool usable =
        key.find("PRIVATE KEY-----") != std::string::npos && key.find("ENCRYPTED") == std::string::npos;
    if (!usable)
        throw usageFailure(files.key.string() + " is no private key in PEM form, or it is encrypted",
                           "openssl pkey -in FILE -out FILE.pem");
}

PlacedUserCertificate::PlacedUserCertificate(const UserCertificate& files) {
    try {
        placeBoth(files);
    } catch (const fs::filesystem_error& error) {
        throw Failure(ExitCode::Failed,
                      {std::string("there is no place for the user certificate: ") + error.what(), {}});
    }
}

void PlacedUserCertificate::placeBoth(const UserCertificate& files) {
    const LibraryFiles places = libraryFiles();
    // The library locks the certificate's own directory while it makes one.
    makePrivateDirectories(places.userCertificate.parent_path());
    const fs::path locked = places.userCertificate.parent_path().parent_path();
    m_lock.emplace(open(locked.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    lockDirectory(*m_lock, locked);
    m_certificateLink = places.userCertificate;
    m_keyLink = places.userKey;
    remove(); // links of a run that was killed
    if (files.certificate.empty())
        return;
    try {
        place(files.certificate, m_certificateLink);
        place(files.key, m_keyLink);
    } catch (...) {
        remove();
        throw;
    }
}

PlacedUserCertificate::~PlacedUserCertificate() {
    remove();
}

void PlacedUserCertificate::place(const fs::path& file, const fs::path& link) {
    std::error_code error;
    makePrivateDirectories(link.parent_path());
    fs::create_symlink(targetPrefix + fs::absolute(file).string(), link, error);
    if (error == std::errc::file_exists)
        throw usageFailure("the library keeps a user certificate of its own: " + link.string(),
                           "--user-cert default to use it, or move certificate and key away");
    if (error)
        throw Failure(ExitCode::Failed,
                      {"cannot place the user certificate at " + link.string() + ": " + error.message(), {}});
}

void PlacedUserCertificate::remove() {
    for (const fs::path& link : {m_certificateLink, m_keyLink}) {
        std::error_code error;
        if (isOwnLink(link))
            fs::remove(link, error);
    }
}

} // namespace opcua_cli
