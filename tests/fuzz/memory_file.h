#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// A file for what reads files, without a disk: one for the whole run, with new content for every input.
class MemoryFile {
public:
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    void setContent(const std::uint8_t* data, std::size_t size);
    const std::string& path() const { return m_path; }

private:
    int m_descriptor;
    std::string m_path;
};
