#include "trace_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
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
}

void TraceFile::append(std::string_view entry) {
    if (!isOpen() || isReplaced())
        open(0);
    if (m_entries >= m_maxEntries)
        rotate();
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
    m_file.close();
    m_entries = 0;
    m_lineIsCut = false;
    // Through a link of another user the trace would go into whatever file that one likes.
    m_target = m_name;
    if (!UaBase_FollowOwnLinks(m_target))
        return;
    // Not to block on a pipe that someone put there; only a regular file is taken.
    m_file.reset(
        ::open(m_target.c_str(),
               O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK | extraFlags,
               S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH));
    if (isOpen() && !isRegularFile(m_file.get()))
        m_file.close();
    if (isOpen())
        countEntries();
}

/// Another process has begun a new file. One that was taken away is written on: who has it open may want it.
bool TraceFile::isReplaced() const {
    struct stat named = {};
    struct stat opened = {};
    return ::stat(m_name.c_str(), &named) == 0 && ::fstat(m_file.get(), &opened) == 0 &&
           (named.st_ino != opened.st_ino || named.st_dev != opened.st_dev);
}

void TraceFile::countEntries() {
    // No trace has so much, whatever else has got the name: it is full then.
    constexpr std::size_t mostBytes = std::size_t{1} << 29;
    std::array<char, 65536> block;
    std::size_t bytes = 0;
    while (m_entries < m_maxEntries) {
        const ssize_t size = ::read(m_file.get(), block.data(), block.size());
        if (size <= 0)
            break;
        bytes += static_cast<std::size_t>(size);
        if (bytes > mostBytes)
            m_entries = m_maxEntries;
        char* const end = block.data() + size;
        m_entries += static_cast<unsigned int>(std::count(block.data(), end, '\n'));
        m_lineIsCut = end[-1] != '\n';
    }
}

void TraceFile::rotate() {
    if (m_backups > 0) {
        unsigned int last = 1;
        while (last < m_backups && ::access(backupName(last).c_str(), F_OK) == 0)
            ++last;
        for (unsigned int number = last; number > 1; --number)
            static_cast<void>(std::rename(backupName(number - 1).c_str(), backupName(number).c_str()));
        static_cast<void>(std::rename(m_target.c_str(), backupName(1).c_str()));
    }
    // Also where the file could not be renamed: the trace never grows without bound.
    open(O_TRUNC);
}

std::string TraceFile::backupName(unsigned int number) const {
    return m_target + '.' + std::to_string(number);
}
