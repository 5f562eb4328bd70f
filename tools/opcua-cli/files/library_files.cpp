#include "library_files.h"

#include "place.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace opcua_cli {
namespace {

namespace fs = std::filesystem;
using Settings = std::map<std::string, std::string>;

struct Setting {
    const char* key;
    const char* usual;
    fs::path LibraryFiles::* file;
};

constexpr const char* settingsGroup = "UaClientConfig";
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

std::string trimmed(const std::string& text) {
    constexpr const char* blanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(blanks);
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

std::string withoutQuotes(const std::string& text) {
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

Settings readSettings(const fs::path& file) {
    std::ifstream input(file);
    Settings found;
    bool inGroup = false;
    for (std::string line; std::getline(input, line);) {
        line = trimmed(line);
        const std::size_t equals = line.find('=');
        if (line.empty() || line[0] == ';' || line[0] == '#')
            continue;
        if (line[0] == '[')
            inGroup = trimmed(line.substr(1, line.find(']') - 1)) == settingsGroup;
        else if (inGroup && equals != std::string::npos)
            found[trimmed(line.substr(0, equals))] = withoutQuotes(trimmed(line.substr(equals + 1)));
    }
    return found;
}

/// As the library does it: what stands before a token goes.
std::string withDirectory(std::string text, const fs::path& directory) {
    for (const std::string token : {"[ApplicationPath]", "[ConfigPath]"}) {
        const std::size_t found = text.find(token);
        if (found != std::string::npos)
            text = directory.string() + text.substr(found + token.size());
    }
    return text;
}

} // namespace

LibraryFiles libraryFilesIn(const fs::path& directory) {
    LibraryFiles files;
    files.trace = directory / "OpcUaClient.log";
    files.configuration = directory / "OpcUaClientConfig.ini";
    const Settings found = readSettings(files.configuration);
    for (const Setting& setting : settings) {
        const auto given = found.find(setting.key);
        files.*setting.file = withDirectory(given == found.end() ? setting.usual : given->second, directory);
    }
    return files;
}

LibraryFiles libraryFiles() {
    return libraryFilesIn(placeOfFiles());
}

} // namespace opcua_cli
