#include "memory_file.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "fuzz_target.h"

MemoryFile::MemoryFile()
    : m_descriptor(memfd_create("input", MFD_CLOEXEC)),
      m_path("/proc/self/fd/" + std::to_string(m_descriptor)) {
    require(m_descriptor >= 0, "a file in memory can be made");
}

MemoryFile::~MemoryFile() {
    close(m_descriptor);
}

void MemoryFile::setContent(const std::uint8_t* data, std::size_t size) {
    require(ftruncate(m_descriptor, 0) == 0, "the file can be emptied");
    require(pwrite(m_descriptor, data, size, 0) == static_cast<ssize_t>(size), "the file can be written");
}
