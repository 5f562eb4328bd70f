#include "uapki/store.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "certificate_parser.h"
#include "file_access.h"
#include "openssl_use.h"
#include "uabase/byte_array.h"
#include "uabase/directory.h"
#include "uabase/trace.h"

namespace fs = std::filesystem;

namespace {

bool isUsable(const UaString& location) {
    // With the slash at the end a file in the directory's place would look as if nothing were there.
    const std::string& text = location.text();
    const fs::path path = text.substr(0, text.find_last_not_of('/') + 1);
    std::error_code error;
    if (path.empty() || !fs::exists(path, error)) {
        // A path that cannot even be looked at is not the same as one that is not there.
        return !error || error == std::errc::not_a_directory || error == std::errc::no_such_file_or_directory;
    }
    const fs::directory_iterator list(path, error);
    return !error;
}

/// Who can write here decides what this client trusts, and what counts as revoked.
void warnOfStrangers(const UaString& location) {
    const std::string others = pki::whoElseMay(pki::Access::Write, location.text());
    if (!others.empty()) {
        UaTrace::write(
            UaTrace::Warnings, "pki",
            "the certificate store's %s is open to strangers: %s may write to it; give it the mode 0700",
            location.toUtf8(), others.c_str());
    }
}

/// What a file holds that a certificate is to be saved in.
enum class Place { Free, HoldsIt, HoldsAnother };

Place placeFor(const UaPkiCertificate& certificate, const std::string& file, std::string& problem) {
    pki::Bytes content;
    const UaStatus status = pki::readFile(file, pki::certificateFileLimit, content, problem);
    if (status.isBad())
        return status.statusCode() == OpcUa_BadNotFound ? Place::Free : Place::HoldsAnother;
    const std::vector<pki::X509Ptr> held = pki::parseCertificateFile(content);
    const UaByteArray thumbprint = certificate.thumbPrint();
    const bool isAmong = std::any_of(held.begin(), held.end(), [&thumbprint](const pki::X509Ptr& entry) {
        return pki::thumbprint(entry.get()) == thumbprint;
    });
    if (isAmong)
        return Place::HoldsIt;
    problem = held.empty() ? "it holds a certificate, or was to hold one, but cannot be read as a whole"
                           : "it holds another certificate";
    return held.empty() && !pki::looksLikeCertificate(content) ? Place::Free : Place::HoldsAnother;
}

bool isFileName(const UaString& name) {
    auto allowed = [](unsigned char character) {
        return std::isalnum(character) != 0 || character == '-' || character == '_' || character == '.';
    };
    const std::string& text = name.text();
    return !text.empty() && text.front() != '.' && std::all_of(text.begin(), text.end(), allowed);
}

} // namespace

UaPkiStore::UaPkiStore(UaPkiStoreLocations locations) : m_locations(std::move(locations)) {}

UaStatus UaPkiStore::open() const {
    UaStatus status;
    for (const UaString* location : {&m_locations.trustedCertificates, &m_locations.trustedRevocationLists,
                                     &m_locations.issuerCertificates, &m_locations.issuerRevocationLists}) {
        if (!isUsable(*location)) {
            UaTrace::write(UaTrace::Errors, "pki",
                           "the certificate store's %s is not a directory that can be read",
                           location->toUtf8());
            status = OpcUa_BadConfigurationError;
        }
        warnOfStrangers(*location);
    }
    return status;
}

UaStatus UaPkiStore::saveTrusted(const UaPkiCertificate& certificate, const UaString& name) const {
    if (certificate.isNull() || !isFileName(name))
        return OpcUa_BadInvalidArgument;
    if (m_locations.trustedCertificates.isEmpty())
        return OpcUa_BadConfigurationError;
    const pki::OpenSslUse use;
    if (!use.isPossible())
        return OpcUa_BadNotWritable;
    const std::string file =
        (fs::path(m_locations.trustedCertificates.text()) / (name.text() + ".der")).string();
    UaDir(UaUniString("")).mkpath(UaUniString(file.c_str())); // what it could not make, the write reports
    std::string problem;
    const Place place = placeFor(certificate, file, problem);
    if (place == Place::HoldsAnother) {
        UaTrace::write(UaTrace::Errors, "pki", "%s is not replaced: %s", file.c_str(), problem.c_str());
        return OpcUa_BadNotWritable;
    }
    if (place == Place::Free && certificate.toDERFile(file.c_str()) != 0)
        return OpcUa_BadNotWritable;
    UaTrace::write(UaTrace::LifeCycle, "pki", "certificate \"%s\" is now trusted: %s",
                   certificate.commonName().toUtf8(), file.c_str());
    return OpcUa_Good;
}
