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

/// In the order of their names, so that two runs over the same store say the same. `problem` is why not all
/// of them are known, or empty.
std::vector<std::string> filesIn(const UaString& location, std::string& problem) {
    std::vector<std::string> files;
    std::error_code error;
    if (location.isEmpty())
        return files;
    fs::directory_iterator entry(location.text(), error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error))
        if (entry->path().filename().string().front() != '.')
            files.push_back(entry->path().string());
    if (error && error != std::errc::no_such_file_or_directory)
        problem = error.message();
    std::sort(files.begin(), files.end());
    return files;
}

template <typename Entry>
using Parser = std::vector<Entry> (*)(const Bytes&);

/// False, with the reason, when the file holds no entries.
template <typename Entry>
bool readEntries(const std::string& file, std::size_t limit, Parser<Entry> parse, std::string& problem,
                 std::vector<Entry>& entries) {
    Bytes content;
    std::vector<Entry> found;
    if (readFile(file, limit, content, problem).isGood())
        found = parse(content);
    std::move(found.begin(), found.end(), std::back_inserter(entries));
    return !found.empty();
}

void readCertificates(const UaString& location, std::vector<X509Ptr>& certificates,
                      std::vector<UaString>& skipped) {
    std::string listing;
    for (const std::string& file : filesIn(location, listing)) {
        std::string problem = "neither a DER nor a PEM certificate";
        if (!readEntries(file, certificateFileLimit, parseCertificateFile, problem, certificates))
            skipped.push_back(passedOver(file, problem));
    }
    if (!listing.empty())
        skipped.push_back(passedOver(location.text(), listing));
}

/// A whole certificate, and a directory, are no list that came to harm; anything else may be.
bool mayBeList(const std::string& file) {
    std::error_code error;
    std::string problem;
    Bytes content;
    return !fs::is_directory(file, error) &&
           !(readFile(file, certificateFileLimit, content, problem).isGood() &&
             holdsCertificatesAlone(content));
}

void readRevocationLists(const UaString& location, StoreContent& content) {
    std::string listing;
    for (const std::string& file : filesIn(location, listing)) {
        std::string problem = "neither a DER nor a PEM revocation list";
        if (!readEntries(file, revocationListFileLimit, parseRevocationListFile, problem,
                         content.revocationLists)) {
            content.skippedFiles.push_back(passedOver(file, problem));
            if (mayBeList(file))
                content.unreadableLists.push_back(content.skippedFiles.back());
        }
    }
    if (!listing.empty()) {
        content.skippedFiles.push_back(passedOver(location.text(), listing));
        content.unreadableLists.push_back(content.skippedFiles.back());
    }
}

} // namespace

StoreContent readStore(const UaPkiStoreLocations& locations) {
    StoreContent content;
    readCertificates(locations.trustedCertificates, content.trusted, content.skippedFiles);
    readCertificates(locations.issuerCertificates, content.issuers, content.skippedFiles);
    readRevocationLists(locations.trustedRevocationLists, content);
    readRevocationLists(locations.issuerRevocationLists, content);
    return content;
}

} // namespace pki
