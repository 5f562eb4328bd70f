#pragma once

#include <filesystem>

namespace opcua_cli {

/// Where the library keeps its files, as its configuration file says.
struct LibraryFiles {
    std::filesystem::path trace;
    std::filesystem::path configuration;
    std::filesystem::path trustedCertificates;
    std::filesystem::path issuerCertificates;
    std::filesystem::path clientCertificate;
    std::filesystem::path clientKey;
    std::filesystem::path userCertificate;
    std::filesystem::path userKey;
};

LibraryFiles libraryFiles();

/// The files of a library whose program is in `directory`.
LibraryFiles libraryFilesIn(const std::filesystem::path& directory);

} // namespace opcua_cli
