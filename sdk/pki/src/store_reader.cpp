#include "store_reader.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "certificate_parser.h"

namespace fs = std::filesystem;

namespace pki {
namespace {

UaString passedOver(std::string path, const std::string& reason) {
    path += ": ";
    path += reason;
    return path;
}

/// In the order of their names, so that two runs over the same store say the same.
std::vector<std::string> filesIn(const UaString& location, std::vector<UaString>& skipped) {
    std::vector<std::string> files;
    std::error_code error;
    if (location.isEmpty()) {
        return files;
    }
    fs::directory_iterator entry(location.text(), error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        if (entry->path().filename().string().front() != '.') {
            files.push_back(entry->path().string());
        }
    }
    if (error && error != std::errc::no_such_file_or_directory) {
        skipped.push_back(passedOver(location.text(), error.message()));
    }
    std::sort(files.begin(), files.end());
    return files;
}

template <typename Entry>
void readDirectory(const UaString& location, std::size_t limit, std::vector<Entry> (*parse)(const Bytes&),
                   const char* foreign, std::vector<Entry>& entries, std::vector<UaString>& skipped) {
    for (const std::string& file : filesIn(location, skipped)) {
        Bytes content;
        std::string problem = foreign;
        std::vector<Entry> found;
        if (readFile(file, limit, content, problem).isGood()) {
            found = parse(content);
        }
        if (found.empty()) {
            skipped.push_back(passedOver(file, problem));
        }
        std::move(found.begin(), found.end(), std::back_inserter(entries));
    }
}

} // namespace

StoreContent readStore(const UaPkiStoreLocations& locations) {
    constexpr const char* noCertificate = "neither a DER nor a PEM certificate";
    constexpr const char* noRevocationList = "neither a DER nor a PEM revocation list";
    StoreContent content;
    readDirectory(locations.trustedCertificates, certificateFileLimit, parseCertificateFile, noCertificate,
                  content.trusted, content.skippedFiles);
    readDirectory(locations.issuerCertificates, certificateFileLimit, parseCertificateFile, noCertificate,
                  content.issuers, content.skippedFiles);
    for (const UaString& lists : {locations.trustedRevocationLists, locations.issuerRevocationLists}) {
        readDirectory(lists, revocationListFileLimit, parseRevocationListFile, noRevocationList,
                      content.revocationLists, content.skippedFiles);
    }
    return content;
}

} // namespace pki
