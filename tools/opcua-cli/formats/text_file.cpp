#include "formats/text_file.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "files/descriptor.h"
#include "output/streams.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

int openFile(const std::string& path, int flags) {
    constexpr mode_t whatTheUmaskLeaves = 0666;
    return open(path.c_str(), flags | O_CLOEXEC, whatTheUmaskLeaves);
}

std::string contents(const std::string& path) {
    const Descriptor file(openFile(path, O_RDONLY));
    if (!file.isOpen())
        throw usageFailure("cannot read " + path + ": " + std::strerror(errno));
    return readAll(file.number(), path);
}

void throwUnlessUtf8(const TextFile& file) {
    std::size_t line = 1;
    for (std::size_t first = 0; first < file.text.size(); ++line) {
        const std::size_t end = std::min(file.text.find('\n', first), file.text.size());
        if (!isValidUtf8(std::string_view(file.text).substr(first, end - first)))
            throw failureAt(placeIn(file, line), "this is not UTF-8",
                            "convert the file first, for example with iconv -t UTF-8");
        first = end + 1;
    }
}

bool writeDevice(const std::string& path, const std::string& text) {
    const Descriptor file(openFile(path, O_WRONLY));
    return file.isOpen() && writeAll(file.number(), text);
}

/// On the disk, with the permissions of the one that it replaces, if there is one.
bool writeReplacement(const std::string& part, const std::string& path, const std::string& text) {
    const Descriptor file(openFile(part, O_WRONLY | O_CREAT | O_EXCL));
    if (!file.isOpen())
        return false;
    struct stat old{};
    if (stat(path.c_str(), &old) == 0 && fchmod(file.number(), old.st_mode & 07777U) != 0)
        return false;
    return writeAll(file.number(), text) && fsync(file.number()) == 0;
}

/// The old file stays whole until the new one is.
bool replaceFile(const std::string& path, const std::string& text) {
    const std::string part = path + "." + std::to_string(getpid()) + ".part";
    if (writeReplacement(part, path, text) && std::rename(part.c_str(), path.c_str()) == 0)
        return true;
    const int reason = errno;
    if (reason != EEXIST)
        unlink(part.c_str());
    errno = reason;
    return false;
}

} // namespace

TextFile readTextFile(const std::string& path) {
    TextFile file =
        path == standardInput ? TextFile{"standard input", readInput()} : TextFile{path, contents(path)};
    if (std::string_view(file.text).substr(0, byteOrderMark.size()) == byteOrderMark)
        file.text.erase(0, byteOrderMark.size());
    throwUnlessUtf8(file);
    return file;
}

std::string placeIn(const TextFile& file, std::size_t line) {
    return file.name + ", line " + std::to_string(line);
}

void writeTextFile(const std::string& path, const std::string& text) {
    std::error_code unknown;
    // A link keeps pointing to the file, and a device is not replaced.
    const std::string target = std::filesystem::weakly_canonical(path, unknown).string();
    const auto status = std::filesystem::status(path, unknown);
    const bool isDevice = std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
    const bool written =
        isDevice ? writeDevice(path, text) : replaceFile(target.empty() ? path : target, text);
    if (!written)
        throw Failure(ExitCode::OutputFailed, {"cannot write " + path + ": " + std::strerror(errno), {}});
}

Failure failureAt(const std::string& place, const std::string& explanation, const std::string& advice) {
    return usageFailure(place + ": " + explanation, advice);
}

} // namespace opcua_cli
