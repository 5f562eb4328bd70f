#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "uabase/byte_string.h"
#include "uabase/date_time.h"
#include "uapki/store.h"

/// What make_stores.sh makes, and stores filled from it.
namespace material {

/// The time as of which the tests verify: 2026-06-01.
UaDateTime verificationTime();

/// The file of this name, for example "self_good.der".
std::filesystem::path file(const std::string& name);

UaByteString read(const std::filesystem::path& file);
void write(const std::filesystem::path& file, const std::string& content);

/// DER certificates one behind the other, as a server sends them: names without ending, separated by blanks.
UaByteString chain(const std::string& names);

/// A store's four directories below `root`.
struct StoreFolders {
    explicit StoreFolders(const std::filesystem::path& root);

    /// Copies files into a directory: names without ending, separated by blanks.
    static void fill(const std::filesystem::path& folder, const std::string& names, const char* ending);
    UaPkiStoreLocations locations() const;

    std::filesystem::path trusted;
    std::filesystem::path trustedLists;
    std::filesystem::path issuers;
    std::filesystem::path issuerLists;
};

std::vector<std::string> words(const std::string& text);

} // namespace material
