#include "place.h"

#include "../failure.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <ios>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace opcua_cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* configurationName = "OpcUaClientConfig.ini";
constexpr const char* libraryName = "libopcuaclient.so.1";

fs::path program() {
    return fs::read_symlink("/proc/self/exe");
}

/// The system's own folder belongs to its packages: root may write to it, and should not.
bool mayKeepFilesIn(const fs::path& directory) {
    return directory != "/usr/bin" && faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

/// An absolute path from the environment; a relative one there has no meaning (XDG Base Directory).
fs::path absolutePathIn(const char* variable) {
    const char* text = std::getenv(variable);
    const fs::path path = text == nullptr ? "" : text;
    return path.is_absolute() ? path : fs::path();
}

fs::path stateDirectory() {
    if (const fs::path state = absolutePathIn("XDG_STATE_HOME"); !state.empty())
        return state / "opcua-cli";
    const fs::path home = absolutePathIn("HOME");
    return home.empty() ? home : home / ".local/state/opcua-cli";
}

/// Runs what is in it, so nobody else may have written that.
void throwUnlessOurs(const fs::path& directory) {
    struct stat properties{};
    if (stat(directory.c_str(), &properties) != 0)
        throw fs::filesystem_error("cannot look at", directory,
                                   std::error_code(errno, std::generic_category()));
    if (properties.st_uid != geteuid() || (properties.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        throw std::runtime_error(directory.string() + " can be written by others");
}

bool isCopyOf(const fs::path& original, const fs::path& copy) {
    std::error_code error;
    return fs::exists(copy, error) && fs::file_size(copy) == fs::file_size(original) &&
           fs::last_write_time(copy) == fs::last_write_time(original);
}

/// Appears whole or not at all: another run may be starting it.
void copyProgram(const fs::path& original, const fs::path& copy) {
    if (isCopyOf(original, copy))
        return;
    const fs::path temporary = copy.parent_path() / ("." + std::to_string(getpid()) + ".tmp");
    fs::copy_file(original, temporary, fs::copy_options::overwrite_existing);
    fs::permissions(temporary, fs::perms::owner_all);
    fs::last_write_time(temporary, fs::last_write_time(original));
    fs::rename(temporary, copy);
}

/// What an administrator has set beside the installed program holds for its users, as long as they have no
/// settings of their own.
void linkConfiguration(const fs::path& installed, const fs::path& own) {
    std::error_code alreadyThere;
    if (fs::exists(installed))
        fs::create_symlink(installed, own, alreadyThere);
}

/// The installed program finds the library relative to itself, its copy would not.
void showTheWayToTheLibrary() {
    std::array<char, PATH_MAX> directory{};
    void* library = dlopen(libraryName, RTLD_LAZY | RTLD_NOLOAD);
    if (library == nullptr || dlinfo(library, RTLD_DI_ORIGIN, directory.data()) != 0)
        return;
    const char* before = std::getenv("LD_LIBRARY_PATH");
    const std::string rest = before != nullptr && *before != '\0' ? std::string(":") + before : "";
    setenv("LD_LIBRARY_PATH", (directory.data() + rest).c_str(), 1);
}

std::vector<std::string> ownArguments() {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::vector<std::string> arguments;
    for (std::string argument; std::getline(file, argument, '\0');)
        arguments.push_back(argument);
    return arguments;
}

[[noreturn]] void become(const fs::path& copy) {
    std::vector<std::string> arguments = ownArguments();
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    showTheWayToTheLibrary();
    execv(copy.c_str(), pointers.data());
    throw fs::filesystem_error("cannot run", copy, std::error_code(errno, std::generic_category()));
}

} // namespace

fs::path placeOfFiles() {
    const fs::path directory = program().parent_path();
    return mayKeepFilesIn(directory) ? directory : stateDirectory();
}

void makePrivateDirectories(const fs::path& directory) {
    const mode_t before = umask(S_IRWXG | S_IRWXO);
    std::error_code error;
    fs::create_directories(directory, error);
    umask(before);
    if (error)
        throw fs::filesystem_error("cannot make", directory, error);
}

void continueInPlaceOfFiles() {
    const fs::path original = program();
    const fs::path place = placeOfFiles();
    std::error_code missing;
    if (place == original.parent_path() || fs::equivalent(place, original.parent_path(), missing))
        return;
    try {
        if (place.empty())
            throw std::runtime_error("HOME is not set");
        makePrivateDirectories(place);
        throwUnlessOurs(place);
        linkConfiguration(original.parent_path() / configurationName, place / configurationName);
        copyProgram(original, place / original.filename());
        become(place / original.filename());
    } catch (const std::exception& error) {
        throw Failure(
            ExitCode::Failed,
            {"there is no place for certificates and trace: " + original.parent_path().string() +
                 " is not writable, and " + error.what(),
             "XDG_STATE_HOME set to a directory of your own, on a file system that programs may run "
             "from"});
    }
}

} // namespace opcua_cli
