#pragma once

#include <filesystem>

namespace opcua_cli {

/// The library keeps its files in the directory of the running program. This is that directory or, where it
/// cannot be written or is /usr/bin, the user's state directory ($XDG_STATE_HOME/opcua-cli or
/// ~/.local/state/opcua-cli), from which continueInPlaceOfFiles() runs a copy. Empty when there is neither.
std::filesystem::path placeOfFiles();

/// Goes on as a copy of the program in placeOfFiles(), with the same arguments; does nothing where the
/// program is there already. Call it before anything is read from standard input. Throws Failure.
void continueInPlaceOfFiles();

/// Makes what is missing of a path of directories, for the user alone. Throws
/// std::filesystem::filesystem_error.
void makePrivateDirectories(const std::filesystem::path& directory);

} // namespace opcua_cli
