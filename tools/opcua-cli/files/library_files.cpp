#include "files/library_files.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "failure.h"

// The reader of char texts, compiled in here, as the library has it.
#define SI_IMPLEMENTATION
#define SI_NO_CONVERSION
#include <SimpleIni.h>

namespace opcua_cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* configurationName = "OpcUaClientConfig.ini";

struct Setting {
    const char* key;
    const char* usual;
    fs::path LibraryFiles::* file;
};

constexpr std::array<Setting, 6> settings{{
    {"CertificateTrustListLocation", "[ConfigPath]/pkiclient/trusted/certs/",
     &LibraryFiles::trustedCertificates},
    {"IssuersCertificatesLocation", "[ConfigPath]/pkiclient/issuers/certs/",
     &LibraryFiles::issuerCertificates},
    {"ClientCertificate", "[ConfigPath]/pkiclient/own/certs/HMIClient.der", &LibraryFiles::clientCertificate},
    {"ClientPrivateKey", "[ConfigPath]/pkiclient/own/private/HMIClient.pem", &LibraryFiles::clientKey},
    {"UserCertificate", "[ConfigPath]/pkiuser/own/certs/user.der", &LibraryFiles::userCertificate},
    {"UserPrivateKey", "[ConfigPath]/pkiuser/own/private/user.pem", &LibraryFiles::userKey},
}};

/// As the library does it: what stands before a token goes.
std::string withDirectory(std::string text, const fs::path& directory) {
    for (const std::string token : {"[ApplicationPath]", "[ConfigPath]"}) {
        const std::size_t found = text.find(token);
        if (found != std::string::npos)
            text = directory.string() + text.substr(found + token.size());
    }
    return text;
}

std::string withoutQuotes(const std::string& text) {
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

/// As the library has it: a file that cannot be read says nothing.
std::string settingsIn(const fs::path& configuration) {
    try {
        return readSmallFile(configuration);
    } catch (const std::exception&) {
        return {};
    }
}

fs::path programsDirectory() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

/// The system's own folder belongs to its packages: root may write to it, and should not.
bool mayKeepFilesIn(const fs::path& directory) {
    return directory != "/usr/bin" && faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

/// Empty when the environment names neither.
fs::path stateDirectory() {
    if (const fs::path state = absolutePathIn("XDG_STATE_HOME"); !state.empty())
        return state / "opcua-cli";
    const fs::path home = absolutePathIn("HOME");
    return home.empty() ? home : home / ".local/state/opcua-cli";
}

fs::path placeOfFiles() {
    if (const fs::path named = absolutePathIn(directoryVariable); !named.empty())
        return named.has_filename() ? named : named.parent_path();
    const fs::path directory = programsDirectory();
    return mayKeepFilesIn(directory) ? directory : stateDirectory();
}

/// Who else can write there decides which servers are trusted.
void throwUnlessOurs(const fs::path& directory) {
    struct stat properties{};
    if (stat(directory.c_str(), &properties) != 0)
        throw fs::filesystem_error("cannot look at", directory,
                                   std::error_code(errno, std::generic_category()));
    if (properties.st_uid != geteuid() || (properties.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        throw std::runtime_error(directory.string() + " can be written by others");
}

/// What an administrator has set beside the installed program holds for its users, as long as they have no
/// settings of their own.
void linkConfiguration(const fs::path& installed, const fs::path& own) {
    std::error_code alreadyThere;
    if (fs::exists(installed))
        fs::create_symlink(installed, own, alreadyThere);
}

} // namespace

LibraryFiles libraryFilesIn(const fs::path& directory) {
    LibraryFiles files;
    files.trace = directory / "OpcUaClient.log";
    files.configuration = directory / configurationName;
    CSimpleIniCaseA configuration(true);
    configuration.LoadData(settingsIn(files.configuration));
    for (const Setting& setting : settings)
        files.*setting.file = withDirectory(
            withoutQuotes(configuration.GetValue("UaClientConfig", setting.key, setting.usual)), directory);
    return files;
}

fs::path absolutePathIn(const char* variable) {
    const char* text = secure_getenv(variable);
    const fs::path path = text == nullptr ? "" : text;
    return path.is_absolute() ? path : fs::path();
}

LibraryFiles libraryFiles() {
    return libraryFilesIn(placeOfFiles());
}

std::string readSmallFile(const std::filesystem::path& file) {
    constexpr std::uintmax_t sizeLimit = 1 << 20;
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::status_known(status))
        throw std::runtime_error(error.message());
    if (!fs::is_regular_file(status))
        throw std::runtime_error(fs::exists(status) ? "not a regular file" : "No such file or directory");
    if (fs::file_size(file, error) > sizeLimit)
        throw std::runtime_error("larger than a certificate can be");
    std::ifstream input(file, std::ios::binary);
    if (!input)
        throw std::runtime_error(std::generic_category().message(errno));
    return {std::istreambuf_iterator<char>(input), {}};
}

void makePrivateDirectories(const fs::path& directory) {
    const mode_t before = umask(S_IRWXG | S_IRWXO);
    std::error_code error;
    fs::create_directories(directory, error);
    umask(before);
    if (error)
        throw fs::filesystem_error("cannot make", directory, error);
}

void prepareLibraryFiles() {
    const fs::path installed = programsDirectory();
    const fs::path place = placeOfFiles();
    if (place == installed || !absolutePathIn(directoryVariable).empty())
        return;
    try {
        if (place.empty())
            throw std::runtime_error("HOME is not set");
        makePrivateDirectories(place);
        throwUnlessOurs(place);
        linkConfiguration(installed / configurationName, place / configurationName);
    } catch (const std::exception& error) {
        throw nodeFailure("there is no place for certificates and trace: " + installed.string() +
                              " is not writable, and " + error.what(),
                          "XDG_STATE_HOME set to a directory of your own");
    }
    setenv(directoryVariable, place.c_str(), 1);
}

} // namespace opcua_cli
