#include "uabase/directory.h"

#include <cerrno>
#include <string>

#include <sys/stat.h>

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
