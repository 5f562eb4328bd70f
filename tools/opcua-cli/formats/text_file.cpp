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

#include "interrupt.h"
#include "output/streams.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

constexpr mode_t whatTheUmaskLeaves = 0666;
constexpr mode_t forTheOwnerAlone = 0600;

/// A pipe waits for somebody at its other end: a signal may come before.
int openFile(const std::string& path, int flags, mode_t mode = whatTheUmaskLeaves) {
    for (;;) {
        const int file = open(path.c_str(), flags | O_CLOEXEC, mode);
        if (file >= 0 || errno != EINTR)
            return file;
        throwIfInterrupted();
    }
}

/// What is written is not given up half way.
bool reachesDisk(int file) {
    int result = 0;
    do
        result = fsync(file);
    while (result != 0 && errno == EINTR);
    return result == 0;
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

/// Also behind a link to a file that is not there yet.
std::filesystem::path behindLinks(std::filesystem::path path) {
    constexpr int mostLinks = 40;
    std::error_code unknown;
    for (int i = 0; i < mostLinks && std::filesystem::is_symlink(path, unknown); ++i)
        path = path.parent_path() / std::filesystem::read_symlink(path, unknown);
    return path;
}

/// A link keeps pointing to the file, and a device is not replaced.
std::string replacedBy(const std::string& path) {
    std::error_code unknown;
    const auto status = std::filesystem::status(path, unknown);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        return "";
    const std::string target = std::filesystem::weakly_canonical(behindLinks(path), unknown).string();
    return target.empty() ? path : target;
}

/// The group alone where the owner may not be given; both stay as they are where that is refused, too.
void takeOwner(int file, const struct stat& old) {
    if (fchown(file, old.st_uid, old.st_gid) != 0) [[maybe_unused]]
        const int refused = fchown(file, static_cast<uid_t>(-1), old.st_gid);
}

/// Who may do what with the old file may with this one, whose owner alone may do anything so far. False when
/// it would let anybody do more.
bool takePermissions(int file, const struct stat& old) {
    constexpr mode_t withoutSetId = 0777;
    mode_t wanted = old.st_mode & withoutSetId;
    takeOwner(file, old);
    struct stat now{};
    if (fstat(file, &now) != 0)
        return false;
    if (now.st_gid != old.st_gid) // another group has what all others have
        wanted &= ~static_cast<mode_t>(S_IRWXG) | ((wanted & S_IRWXO) << 3U);
    const mode_t given = now.st_mode & withoutSetId;
    return given == wanted || fchmod(file, wanted) == 0 || (given & ~wanted) == 0;
}

/// Under a name that no other file has: a program that could not end in good order leaves its own behind,
/// and its process number comes again.
int makePart(std::string& part, const std::string& target, mode_t mode) {
    constexpr int mostNames = 100;
    const std::string process = target + "." + std::to_string(getpid());
    int file = -1;
    for (int i = 0; file < 0 && i < mostNames && (i == 0 || errno == EEXIST); ++i) {
        part = process + (i == 0 ? "" : "-" + std::to_string(i)) + ".part";
        file = openFile(part, O_WRONLY | O_CREAT | O_EXCL, mode);
    }
    return file;
}

/// Beside the file that is to be written; nobody else may look into it before it is known who may.
int openPart(std::string& part, const std::string& target) {
    struct stat old{};
    const bool replaces = stat(target.c_str(), &old) == 0;
    if (replaces && access(target.c_str(), W_OK) != 0)
        return -1;
    const int file = makePart(part, target, replaces ? forTheOwnerAlone : whatTheUmaskLeaves);
    if (file < 0 || !replaces || takePermissions(file, old))
        return file;
    const int reason = errno;
    close(file);
    unlink(part.c_str());
    errno = reason;
    return -1;
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

NewTextFile::NewTextFile(const std::string& path)
    : m_path(path), m_target(replacedBy(path)),
      m_file(m_target.empty() ? openFile(path, O_WRONLY) : openPart(m_part, m_target)) {
    if (!m_file.isOpen())
        fail();
}

NewTextFile::~NewTextFile() {
    if (!m_isFinished && !m_part.empty())
        unlink(m_part.c_str());
}

void NewTextFile::write(const std::string& text) {
    const Writing writing;
    if (!writeAll(m_file.number(), text))
        fail();
}

void NewTextFile::finish() {
    const Writing writing;
    if (!m_part.empty() &&
        (!reachesDisk(m_file.number()) || std::rename(m_part.c_str(), m_target.c_str()) != 0))
        fail();
    m_isFinished = true;
}

void NewTextFile::fail() const {
    throw Failure(ExitCode::OutputFailed, {"cannot write " + m_path + ": " + std::strerror(errno), {}});
}

void writeTextFile(const std::string& path, const std::string& text) {
    NewTextFile file(path);
    file.write(text);
    file.finish();
}

Failure failureAt(const std::string& place, const std::string& explanation, const std::string& advice) {
    return usageFailure(place + ": " + explanation, advice);
}

} // namespace opcua_cli
