#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "formats/text_file.h"

namespace opcua_cli {

/// A server as its user knows it: where it is and how to connect. Never a password.
struct Profile {
    std::string url{};
    std::optional<int> policy{};
    std::optional<int> mode{};
    std::optional<std::string> user{};
    std::string place{}; ///< "profiles.ini, line 2": of the URL
};

using Profiles = std::map<std::string, Profile>;

/// Where the profiles are: `$XDG_CONFIG_HOME/opcua-cli/profiles.ini`, by default below `~/.config`. Throws
/// Failure (Usage) when neither variable says.
std::filesystem::path profilesFile();

/// Sections with `key = value`; README.md has the form. Throws Failure (Usage) that says which line is wrong.
Profiles parseProfiles(const TextFile& file);

/// The profile of that name. Throws Failure (Usage).
Profile findProfile(const std::string& name);

} // namespace opcua_cli
