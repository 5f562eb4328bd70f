#include "uabase/directory.h"

#include <cerrno>
#include <cstddef>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
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
    for (std::size_t slash = file.find('/', 1); slash != std::string::npos;
         slash = file.find('/', slash + 1)) {
        if (!makeDirectory(file.substr(0, slash)))
            return false;
    }
    return true;
}

bool UaFile::open() {
    close();
    const std::string path = m_path.toUtf8().text();
    // Without waiting: the name may be that of a pipe.
    m_descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    m_isMissing = m_descriptor < 0 && (errno == ENOENT || errno == ENOTDIR);
    struct stat status = {};
    if (m_descriptor >= 0 && (::fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode)))
        close();
    return m_descriptor >= 0;
}

void UaFile::close() {
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
}
