#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace cli_test {

using Arguments = std::vector<std::string>;

struct CliResult {
    int exitCode = -1;
    std::string output;
    std::string error;

    /// The output as one JSON document; throws when it is none.
    nlohmann::json json() const { return nlohmann::json::parse(output); }
};

std::string program();

/// Runs the program with its output on pipes. Throws when a signal ends it.
CliResult run(const Arguments& arguments);

/// Runs the program by a shell script that calls it as `"$0" "$@"`.
CliResult runInShell(const std::string& script, const Arguments& arguments,
                     const std::string& path = program());

/// A terminal that a test looks at.
class PseudoTerminal {
public:
    explicit PseudoTerminal(unsigned short columns);
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    /// The path to redirect to.
    const std::string& path() const { return m_path; }
    /// What was written so far.
    std::string text();
    /// Waits until the text was written, and gives all that was; throws when it does not come.
    std::string awaitText(const std::string& wanted);
    void resize(unsigned short columns, unsigned short rows);
    /// Types on its keyboard.
    void type(const std::string& keys);
    /// True when what is typed shows.
    bool echoes() const;

private:
    int m_master = -1;
    int m_slave = -1;
    std::string m_path;
    std::string m_seen; ///< by awaitText(), and not yet given out
};

} // namespace cli_test
