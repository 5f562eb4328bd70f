#pragma once

#include <filesystem>

namespace test_support {

/// A new, empty directory that only its owner can enter; it goes with all its contents when the object goes.
class TemporaryDirectory {
public:
    /// Throws std::system_error when the directory cannot be made.
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace test_support
