#include "uabase/symbolic_links.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "uabase/file_descriptor.h"

namespace {

constexpr int mostLinks = 40; // as many as the kernel follows

enum class Kind { OwnLink, ForeignLink, Other };

/// Looks at the link itself, so that nobody can exchange it between the question who made it and where it
/// leads.
class Entry {
public:
    explicit Entry(const std::string& path)
        : m_descriptor(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC)),
          m_error(m_descriptor.isOpen() ? 0 : errno) {}

    /// Why nothing can be said about it; 0 also when there is nothing.
    int error() const { return m_error == ENOENT || m_error == ENOTDIR ? 0 : m_error; }

    Kind kind() const {
        struct stat status = {};
        if (!m_descriptor.isOpen() || ::fstat(m_descriptor.get(), &status) != 0 || !S_ISLNK(status.st_mode))
            return Kind::Other;
        return status.st_uid == 0 || status.st_uid == ::geteuid() ? Kind::OwnLink : Kind::ForeignLink;
    }

    /// Empty when it cannot be read.
    std::string target() const {
        std::array<char, PATH_MAX> text{};
        const ssize_t length = ::readlinkat(m_descriptor.get(), "", text.data(), text.size());
        return length > 0 && static_cast<std::size_t>(length) < text.size()
                   ? std::string(text.data(), static_cast<std::size_t>(length))
                   : std::string();
    }

private:
    UaFileDescriptor m_descriptor;
    int m_error;
};

std::string besides(const std::string& link, const std::string& target) {
    const std::size_t slash = link.rfind('/');
    return target.front() == '/' || slash == std::string::npos ? target : link.substr(0, slash + 1) + target;
}

} // namespace

bool UaBase_FollowOwnLinks(std::string& path) {
    for (int followed = 0; followed <= mostLinks; ++followed) {
        const Entry entry(path);
        if (entry.error() != 0) {
            errno = entry.error();
            return false;
        }
        const Kind kind = entry.kind();
        if (kind == Kind::Other)
            return true;
        const std::string target = kind == Kind::OwnLink ? entry.target() : std::string();
        if (target.empty()) {
            errno = EPERM;
            return false;
        }
        path = besides(path, target);
    }
    errno = ELOOP;
    return false;
}
