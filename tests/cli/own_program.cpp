#include "own_program.h"

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <system_error>

namespace cli_test {

OwnProgram::OwnProgram() {
    // A link has a directory of its own like a copy, and costs nothing.
    std::error_code error;
    std::filesystem::create_hard_link(program(), path(), error);
    if (error)
        std::filesystem::copy_file(program(), path());
}

CliResult OwnProgram::run(const Arguments& arguments) const {
    return runInShell("exec \"$0\" \"$@\"", arguments);
}

CliResult OwnProgram::runInShell(const std::string& script, const Arguments& arguments) const {
    return cli_test::runInShell(script, arguments, path());
}

std::size_t OwnProgram::trusted() const {
    std::error_code error;
    const std::filesystem::directory_iterator files(directory() / "pkiclient/trusted/certs", error);
    return error ? 0 : static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

} // namespace cli_test
