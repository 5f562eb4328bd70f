#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

#include "cli_program.h"
#include "support/temporary_directory.h"

namespace cli_test {

/// A copy of the program in a directory of its own, where the library keeps certificates and trace.
class OwnProgram {
public:
    OwnProgram();

    const std::filesystem::path& directory() const { return m_directory.path(); }
    std::string path() const { return (directory() / "opcua-cli").string(); }
    CliResult run(const Arguments& arguments) const;
    /// Runs it by a shell script that calls it as `"$0" "$@"`.
    CliResult runInShell(const std::string& script, const Arguments& arguments) const;

    /// Files in the trust list.
    std::size_t trusted() const;

private:
    test_support::TemporaryDirectory m_directory;
};

} // namespace cli_test
