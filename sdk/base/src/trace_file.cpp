#include "trace_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "uabase/symbolic_links.h"

namespace {

bool isRegularFile(int descriptor) {
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

ssize_t writeOnce(int descriptor, std::string_view bytes) {
    ssize_t written = 0;
    do
        written = ::write(descriptor, bytes.data(), bytes.size());
    while (written < 0 && errno == EINTR);
    return written;
}

} // namespace

TraceFile::TraceFile(std::string name, unsigned int maxEntries, unsigned int backups)
    : m_name(std::move(name)), m_maxEntries(std::max(maxEntries, 1U)), m_backups(backups) {
    open(0);
    if (isOpen())
        countEntries();
}

void TraceFile::append(std::string_view entry) {
    if (m_entries >= m_maxEntries)
        rotate();
    if (!isOpen())
        open(0);
    if (!isOpen())
        return;
    if (m_lineIsCut && writeOnce(m_file.get(), "\n") == 1)
        m_lineIsCut = false;
    const ssize_t written = writeOnce(m_file.get(), entry);
    if (written <= 0)
        return;
    ++m_entries;
    m_lineIsCut = static_cast<std::size_t>(written) < entry.size();
}

void TraceFile::open(int extraFlags) {
    // Through a link of another user the trace would go into whatever file that one likes.
    std::string file = m_name;
    if (!UaBase_FollowOwnLinks(file))
        return;
    // Not to block on a pipe that someone put there; only a regular file is taken.
    m_file.reset(
        ::open(file.c_str(),
               O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK | extraFlags,
               S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH));
    if (isOpen() && !isRegularFile(m_file.get()))
        m_file.close();
}

void TraceFile::countEntries() {
    std::array<char, 65536> block;
    for (;;) {
        const ssize_t size = ::read(m_file.get(), block.data(), block.size());
        if (size <= 0)
            break;
        char* const end = block.data() + size;
        m_entries += static_cast<unsigned int>(std::count(block.data(), end, '\n'));
        m_lineIsCut = end[-1] != '\n';
    }
}

void TraceFile::rotate() {
    m_file.close();
    if (m_backups > 0) {
        unsigned int last = 1;
        while (last < m_backups && ::access(backupName(last).c_str(), F_OK) == 0)
            ++last;
        for (unsigned int number = last; number > 1; --number)
            static_cast<void>(std::rename(backupName(number - 1).c_str(), backupName(number).c_str()));
        static_cast<void>(std::rename(m_name.c_str(), backupName(1).c_str()));
    }
    // Also where the file could not be renamed: the trace never grows without bound.
    open(O_TRUNC);
    m_entries = 0;
    m_lineIsCut = false;
}

std::string TraceFile::backupName(unsigned int number) const {
    return m_name + '.' + std::to_string(number);
}
