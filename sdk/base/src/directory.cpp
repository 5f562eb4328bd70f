#include "uabase/directory.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

bool isDirectory(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool makeDirectory(const std::string& path) {
    // Someone else may make it at the same moment, and some file systems refuse before they look whether it
    // is there.
    return ::mkdir(path.c_str(), S_IRWXU) == 0 || isDirectory(path);
}

} // namespace

UaDir::UaDir(const UaUniString& path) : m_path(path) {}

UaUniString UaDir::fromNativeSeparators(const UaUniString& path) {
    return path;
}

UaUniString UaDir::filePath(const UaUniString& name) const {
    const std::u16string& directory = m_path.text();
    const std::u16string& file = name.text();
    if (directory.empty() || (!file.empty() && file.front() == u'/'))
        return name;
    return directory.back() == u'/' ? directory + file : directory + u'/' + file;
}

bool UaDir::mkpath(const UaUniString& path) const {
    const std::string file = filePath(path).toUtf8().text();
    for (std::size_t slash = file.find('/', 1); slash != std::string::npos; slash = file.find('/', slash + 1))
        if (!makeDirectory(file.substr(0, slash)))
            return false;
    return true;
}

bool UaFile::open() {
    close();
    const std::string path = m_path.toUtf8().text();
    // Without waiting: the name may be that of a pipe.
    m_file.reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    m_error = m_file.isOpen() ? 0 : errno;
    struct stat status = {};
    if (m_file.isOpen() && (::fstat(m_file.get(), &status) != 0 || !S_ISREG(status.st_mode))) {
        m_error = EISDIR;
        close();
    }
    return m_file.isOpen();
}

bool UaFile::isMissing() const {
    return m_error == ENOENT || m_error == ENOTDIR;
}

UaString UaFile::problem() const {
    return m_error == EISDIR ? "it is no regular file" : std::generic_category().message(m_error);
}
