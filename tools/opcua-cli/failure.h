#pragma once

#include <exception>
#include <string>
#include <utility>

namespace opcua_cli {

/// How the program ends. The numbers are documented in README.md and --help: scripts count on them.
enum class ExitCode : int {
    Success = 0,
    Failed = 1,       ///< the server refused the operation, or something failed for some of the nodes
    Usage = 2,        ///< wrong arguments; nothing was sent
    NoConnection = 3, ///< the server cannot be reached, or the connection was lost
    OutputFailed = 4, ///< the result could not be written
    Internal = 70,
    HungUp = 129,       ///< as a shell reports SIGHUP
    Interrupted = 130,  ///< as a shell reports SIGINT
    OutputClosed = 141, ///< as a shell reports SIGPIPE
    Terminated = 143    ///< as a shell reports SIGTERM
};

/// What went wrong, in words for the user.
struct Problem {
    std::string explanation{};
    std::string advice{};        ///< what to try next; empty when there is nothing to say
    int resultCode = 0;          ///< the library's; 0 when it was not the library that refused
    std::string storedMessage{}; ///< the library's own text; empty when it stores none for the code
    bool canPass = false;        ///< the same may work a little later
};

/// A problem that says of which node it is.
inline Problem namedProblem(const std::string& node, Problem problem) {
    problem.explanation.insert(0, node + ": ");
    return problem;
}

/// Ends a command.
class Failure : public std::exception {
public:
    Failure(ExitCode exitCode, Problem problem) : m_exitCode(exitCode), m_problem(std::move(problem)) {}

    ExitCode exitCode() const { return m_exitCode; }
    const Problem& problem() const { return m_problem; }
    /// True when nothing more can be written.
    bool isOutputOver() const {
        return m_isOutputOver || m_exitCode == ExitCode::OutputClosed || m_exitCode == ExitCode::OutputFailed;
    }
    void setOutputOver() { m_isOutputOver = true; }
    const char* what() const noexcept override { return m_problem.explanation.c_str(); }

private:
    ExitCode m_exitCode;
    Problem m_problem;
    bool m_isOutputOver = false;
};

inline Failure usageFailure(std::string explanation, std::string advice = {}) {
    return {ExitCode::Usage, {std::move(explanation), std::move(advice)}};
}

/// What only one node of several suffers from.
inline Failure nodeFailure(std::string explanation, std::string advice = {}) {
    return {ExitCode::Failed, {std::move(explanation), std::move(advice)}};
}

} // namespace opcua_cli
