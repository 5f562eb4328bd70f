#pragma once

#include <filesystem>
#include <string>

namespace opcua_cli {

/// Names to the library the directory of its files.
constexpr const char* directoryVariable = "OPCUACLIENT_DIRECTORY";

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

/// The files of this program. They lie in the directory that OPCUACLIENT_DIRECTORY names, else beside the
/// program or, where that cannot be written, in the user's state directory ($XDG_STATE_HOME/opcua-cli or
/// ~/.local/state/opcua-cli).
LibraryFiles libraryFiles();

/// The files of a library that keeps them in `directory`.
LibraryFiles libraryFilesIn(const std::filesystem::path& directory);

/// Makes the state directory where it is needed, and points the library to it. Call it before the library is
/// started. Throws Failure.
void prepareLibraryFiles();

/// An absolute path from the environment, else empty: a relative one has no meaning there (XDG Base
/// Directory).
std::filesystem::path absolutePathIn(const char* variable);

/// A certificate, a key or settings. Throws std::runtime_error when the file cannot be read, and for one that
/// is larger than any of these.
std::string readSmallFile(const std::filesystem::path& file);

/// Makes what is missing of a path of directories, for the user alone. Throws
/// std::filesystem::filesystem_error.
void makePrivateDirectories(const std::filesystem::path& directory);

} // namespace opcua_cli
