#include "file_access.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include <openssl/rand.h>

#include "uabase/file_descriptor.h"
#include "uabase/symbolic_links.h"
#include "uabase/trace.h"

namespace pki {
namespace {

bool writeAll(int descriptor, const void* data, std::size_t length) {
    const auto* position = static_cast<const unsigned char*>(data);
    while (length > 0) {
        const ssize_t count = ::write(descriptor, position, length);
        if (count < 0 && errno != EINTR)
            return false;
        const std::size_t written = count > 0 ? static_cast<std::size_t>(count) : 0;
        position += written;
        length -= written;
    }
    return true;
}

/// Hidden and in the same directory: readers of a store pass it over, and the rename stays on one file
/// system.
std::string temporaryName(const std::filesystem::path& path) {
    std::array<unsigned char, 8> random{};
    if (RAND_bytes(random.data(), static_cast<int>(random.size())) != 1)
        return {};
    std::string suffix;
    for (const unsigned char byte : random) {
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", byte);
        suffix += digits.data();
    }
    return (path.parent_path() / ("." + path.filename().string() + "." + suffix + ".tmp")).string();
}

/// A rename is only durable once its directory is on the disk.
bool syncDirectoryOf(const std::filesystem::path& path) {
    const std::filesystem::path parent = path.parent_path().empty() ? "." : path.parent_path();
    const UaFileDescriptor directory(::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // A directory that may be written but not read, or a file system that cannot flush one: the file is there
    // all the same.
    return !directory.isOpen() || ::fsync(directory.get()) == 0 || errno == EINVAL;
}

/// Takes back what this has made; errno stays.
void discard(const std::string& path) {
    const int error = errno;
    ::unlink(path.c_str());
    errno = error;
}

/// False, with the reason in errno, when it cannot, or something is there; what was there is then untouched.
bool writeAndFlush(const std::string& path, const void* data, std::size_t length, mode_t mode) {
    UaFileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (!file.isOpen())
        return false;
    if (writeAll(file.get(), data, length) && ::fsync(file.get()) == 0 && file.close())
        return true;
    discard(path);
    return false;
}

/// A rename asks the directory alone: without this it would replace a file that its owner has protected.
bool mayBeReplaced(const std::string& path) {
    return ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0 || errno == ENOENT;
}

/// Writes it under another name, which is empty, with the reason in errno, when it cannot.
std::string writeTemporary(const std::string& path, const void* data, std::size_t length, mode_t mode) {
    std::string temporary = temporaryName(path);
    if (temporary.empty() || !mayBeReplaced(path) || !writeAndFlush(temporary, data, length, mode))
        temporary.clear();
    return temporary;
}

/// False, with the reason in errno, when it cannot; what was there is then untouched.
bool replace(const std::string& path, const void* data, std::size_t length, mode_t mode) {
    const std::string temporary = writeTemporary(path, data, length, mode);
    if (temporary.empty())
        return false;
    if (::rename(temporary.c_str(), path.c_str()) != 0) {
        discard(temporary);
        return false;
    }
    return syncDirectoryOf(path);
}

bool traceFailure(const std::string& path, const char* why) {
    const int error = errno;
    UaTrace::write(UaTrace::Errors, "pki", "cannot write %s%s: %s", path.c_str(), why,
                   errorText(error).c_str());
    return false;
}

/// The file that is behind the path's links. False, with the reason in the trace, when they are not followed.
bool findFile(const std::string& path, std::string& file) {
    file = path;
    return (!path.empty() && UaBase_FollowOwnLinks(file)) ||
           traceFailure(path, ", a symbolic link that is not followed");
}

} // namespace

UaStatus readFile(const std::string& path, std::size_t limit, Bytes& content, std::string& problem) {
    // Without O_NONBLOCK a named pipe in a store's directory would hold up the connect for ever.
    const UaFileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat properties{};
    if (!file.isOpen() || ::fstat(file.get(), &properties) != 0) {
        const int error = errno;
        problem = errorText(error);
        return error == ENOENT || error == ENOTDIR ? OpcUa_BadNotFound : OpcUa_BadNotReadable;
    }
    if (!S_ISREG(properties.st_mode)) {
        problem = "not a regular file";
        return OpcUa_BadNotReadable;
    }
    if (static_cast<std::size_t>(properties.st_size) > limit) {
        problem = "larger than " + std::to_string(limit / 1024) + " KiB";
        return OpcUa_BadOutOfRange;
    }
    content.resize(static_cast<std::size_t>(properties.st_size));
    if (!file.readInto(content)) {
        problem = errorText(errno);
        return OpcUa_BadNotReadable;
    }
    return OpcUa_Good;
}

std::string errorText(int error) {
    return std::generic_category().message(error);
}

bool writeNewFile(const std::string& path, const void* data, std::size_t length, mode_t mode) {
    return writeAndFlush(path, data, length, mode) && syncDirectoryOf(path);
}

bool writeFileAtomically(const std::string& path, const void* data, std::size_t length, mode_t mode) {
    std::string file;
    return findFile(path, file) && (replace(file, data, length, mode) || traceFailure(path, ""));
}

bool couldWriteFile(const std::string& path, const void* data, std::size_t length, mode_t mode) {
    std::string file;
    if (!findFile(path, file))
        return false;
    const std::string temporary = writeTemporary(file, data, length, mode);
    if (temporary.empty())
        return traceFailure(path, "");
    discard(temporary);
    return true;
}

std::string whoElseMay(Access access, const std::string& path) {
    struct stat properties{};
    if (::stat(path.c_str(), &properties) != 0)
        return {};
    const mode_t mode = properties.st_mode;
    if ((mode & (access == Access::Read ? S_IROTH : S_IWOTH)) != 0)
        return "everybody";
    if ((mode & (access == Access::Read ? S_IRGRP : S_IWGRP)) != 0)
        return "the group " + std::to_string(properties.st_gid);
    const bool isForeign = properties.st_uid != 0 && properties.st_uid != ::geteuid();
    return isForeign ? "its owner, the user " + std::to_string(properties.st_uid) + "," : std::string();
}

} // namespace pki
